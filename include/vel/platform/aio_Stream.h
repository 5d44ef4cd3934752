#ifndef VEL_PLATFORM_AIO_STREAM_H
#define VEL_PLATFORM_AIO_STREAM_H

#include <iostream>

// Text streams: the library's diagnostics go to the standard streams.
using aio_ostream = std::ostream;
extern aio_ostream& aio_cout;
extern aio_ostream& aio_cerr;

#endif
