// A standard clean call, with the translation of every instruction it
// inserts set to the emulated instruction's address.
#include "sve/client/call_zorix.h"

#include <cstdarg>

void dr_insert_call_zorix(void* drcontext, instrlist_t* bb, instr_t* where, app_pc pc, void* callee,
                          unsigned int num_args, ...) {
  opnd_t args[4];
  DR_ASSERT(num_args <= 4);
  va_list ap;
  va_start(ap, num_args);
  for (unsigned int i = 0; i < num_args; ++i) args[i] = va_arg(ap, opnd_t);
  va_end(ap);
  instr_t* before = instr_get_prev(where);
  // The array form of the clean call is not exported; the variadic one is.
  const auto save = DR_CLEANCALL_READS_APP_CONTEXT;
  switch (num_args) {
    case 0: dr_insert_clean_call_ex(drcontext, bb, where, callee, save, 0); break;
    case 1: dr_insert_clean_call_ex(drcontext, bb, where, callee, save, 1, args[0]); break;
    case 2: dr_insert_clean_call_ex(drcontext, bb, where, callee, save, 2, args[0], args[1]); break;
    case 3: dr_insert_clean_call_ex(drcontext, bb, where, callee, save, 3, args[0], args[1], args[2]); break;
    default: dr_insert_clean_call_ex(drcontext, bb, where, callee, save, 4, args[0], args[1], args[2], args[3]); break;
  }
  for (instr_t* in = before ? instr_get_next(before) : instrlist_first(bb); in != where; in = instr_get_next(in))
    instr_set_translation(in, pc);
}
