#include "transfer/VelDrawerIO.h"

namespace {
VelDrawerIO* s_installed = nullptr;
}  // namespace

VelDrawerIO& VelDrawerIO::Current() {
    return s_installed ? *s_installed : VelDrawerLayer();
}

VelDrawerIO* VelDrawerIO::Install(VelDrawerIO* io) {
    VelDrawerIO* previous = s_installed;
    s_installed = io;
    return previous;
}
