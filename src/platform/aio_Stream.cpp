#include "vel/platform/aio_Stream.h"

aio_ostream& aio_cout = std::cout;
aio_ostream& aio_cerr = std::cerr;
