#ifndef VEL_PLATFORM_AIO_STREAM_H
#define VEL_PLATFORM_AIO_STREAM_H

#include <iostream>

#include "vel/VelExport.h"

// Text streams: the library's diagnostics go to the standard streams.
using aio_ostream = std::ostream;
extern VEL_API aio_ostream& aio_cout;
extern VEL_API aio_ostream& aio_cerr;

#endif
