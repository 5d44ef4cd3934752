#include <vel/vel.h>

#include <cstdio>

int main() {
    int count = 0;
    UTI_VelDynamicAPI_initialize(count);
    const int started = count;
    UTI_VelDynamicAPI_finalize(count);
    std::printf("started %d modules, %d left after finalize\n", started, count);
    return started == 7 && count == 0 ? 0 : 1;
}
