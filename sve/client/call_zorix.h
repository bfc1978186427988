// dr_insert_call_zorix: inserts before `where` a call to `callee` with
// `num_args` operand arguments, preserving every application register across
// it as a clean call does, and attributes the inserted instructions to
// `app_pc` for fault translation.
#pragma once
#include "dr_api.h"

void dr_insert_call_zorix(void* drcontext, instrlist_t* bb, instr_t* where, app_pc pc, void* callee,
                          unsigned int num_args, ...);
