#include "vel/core/VelArray.h"

aio_ostream& operator<<(aio_ostream& out, const VelArray<int>& array) {
    out << "(";
    for (int i = 0; i < array.Size(); ++i) out << " " << array[i];
    return out << " )";
}
