#ifndef VEL_CACHE_CHE_MODULE_H
#define VEL_CACHE_CHE_MODULE_H

// Start and stop of the object cache module; it needs no set-up of its own and only counts.
void che_initialize(int& count);
void che_finalize(int& count);

#endif
