// Starts the library, reports what it started, and stops it again.
#include <vel/vel.h>

#include <cstdio>

int main() {
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    std::printf("vel started: %d modules running\n", modules);
    UTI_VelDynamicAPI_finalize(modules);
    std::printf("vel stopped: %d modules running\n", modules);
    return modules == 0 ? 0 : 1;
}
