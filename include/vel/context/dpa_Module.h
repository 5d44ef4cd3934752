#ifndef VEL_CONTEXT_DPA_MODULE_H
#define VEL_CONTEXT_DPA_MODULE_H

// Start and stop of the data module.  The first start creates the process-wide manager; the
// last stop has it close every context still open.
void dpa_initialize(int& count);
void dpa_finalize(int& count);

#endif
