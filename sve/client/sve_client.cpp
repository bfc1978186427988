// The DynamoRIO client: start-up, per-thread emulated state, and the rewriting
// of every basic block so that each SVE instruction becomes a call into the
// emulator. The inserted sequence copies the application's registers into the
// thread's cpu_state, calls emulate_instruction with the word, its address
// and its handler as immediates, and copies the registers back; the SVE
// instruction itself is removed. Writes to FPCR are shadowed into cpu_state.
#include <cstddef>
#include <cstdio>
#include <string>

#include "dr_api.h"
#include "drmgr.h"
#include "drreg.h"
#include "droption.h"
#include "sve/client/call_zorix.h"
#include "sve/decode/decode.h"
#include "trace/memtrace_sve_utils.h"

namespace {

int tls_idx = -1;

// The three application registers that travel through spill slots while the
// inserted sequence runs: X26 and X27 are its scratch registers, X28 is the
// framework's stolen register.
constexpr dr_spill_slot_t kSlotX26 = dr_spill_slot_t(1);
constexpr dr_spill_slot_t kSlotX27 = dr_spill_slot_t(2);
constexpr dr_spill_slot_t kSlotX28 = dr_spill_slot_t(3);

// ---------------------------------------------------------------------------
// The emulation call.

aarch64_decode_rc run_handler(void* drcontext, Handler handler, cpu_state* state, unsigned int word) {
  aarch64_decode_rc rc = DECODE_OK;
  // A fault of the application's own inside an emulated access surfaces here:
  // the framework owns the process's signals, so it is caught in place.
  DR_TRY_EXCEPT(
      drcontext, { rc = handler(state, word); },
      {
        dr_fprintf(STDERR,
                   "zorix's SVESigHandler caught signal SIGSEGV from the process being emulated, passing it to "
                   "the default signal handler.\n");
        dr_abort();
      });
  return rc;
}

void emulate_instruction(unsigned int word, unsigned char* pc, Handler handler) {
  void* drcontext = dr_get_current_drcontext();
  auto* state = static_cast<cpu_state*>(drmgr_get_tls_field(drcontext, tls_idx));
  state->pc = pc;
  state->x[26] = dr_read_saved_reg(drcontext, kSlotX26);
  state->x[27] = dr_read_saved_reg(drcontext, kSlotX27);
  state->x[28] = dr_read_saved_reg(drcontext, kSlotX28);
  if (run_handler(drcontext, handler, state, word) != DECODE_OK)
    std::fprintf(stderr, "Error: failed to emulate SVE instruction 0x%08x at PC %p\n",
                 *reinterpret_cast<const unsigned int*>(pc), static_cast<void*>(pc));
  dr_write_saved_reg(drcontext, kSlotX26, state->x[26]);
  dr_write_saved_reg(drcontext, kSlotX27, state->x[27]);
  dr_write_saved_reg(drcontext, kSlotX28, state->x[28]);
}

// ---------------------------------------------------------------------------
// Block rewriting.

// Places the client's own instructions before the SVE instruction, as
// application instructions translated to its address.
struct Inserter {
  void* dc;
  instrlist_t* bb;
  instr_t* where;
  app_pc pc;

  void add(instr_t* in) {
    instr_set_translation(in, pc);
    instrlist_preinsert(bb, where, in);
  }
  opnd_t mem(reg_id_t base, int disp, opnd_size_t size) const {
    return opnd_create_base_disp(base, DR_REG_NULL, 0, disp, size);
  }
  opnd_t reg(reg_id_t r) const { return opnd_create_reg(r); }
};

constexpr int kOffZ = int(offsetof(cpu_state, z));

void read_state_pointer(void* dc, instrlist_t* bb, instr_t* where, reg_id_t into) {
  if (!drmgr_insert_read_tls_field(dc, tls_idx, bb, where, into)) DR_ASSERT(false);
}

// Steps 6-11: application registers into cpu_state (X27 = cpu_state).
void spill_registers(Inserter& s) {
  s.add(INSTR_CREATE_add(s.dc, s.reg(DR_REG_X26), s.reg(DR_REG_SP), OPND_CREATE_INT(0)));
  s.add(INSTR_CREATE_str(s.dc, s.mem(DR_REG_X27, offsetof(cpu_state, sp), OPSZ_8), s.reg(DR_REG_X26)));
  for (int i = 0; i < 26; i += 2)
    s.add(INSTR_CREATE_stp(s.dc, s.mem(DR_REG_X27, 8 * i, OPSZ_16), s.reg(DR_REG_X0 + i), s.reg(DR_REG_X0 + i + 1)));
  s.add(INSTR_CREATE_stp(s.dc, s.mem(DR_REG_X27, 8 * 29, OPSZ_16), s.reg(DR_REG_X29), s.reg(DR_REG_X30)));
  // Z0 starts at an offset that is not a multiple of 16, which STR Q cannot
  // encode; the registers are 112 bytes apart, which it can, from X26.
  s.add(INSTR_CREATE_add(s.dc, s.reg(DR_REG_X26), s.reg(DR_REG_X27), OPND_CREATE_INT(kOffZ)));
  for (int i = 0; i < 32; ++i)
    s.add(INSTR_CREATE_str(s.dc, s.mem(DR_REG_X26, SVE_VL_BYTES * i, OPSZ_16), s.reg(DR_REG_Q0 + i)));
  s.add(INSTR_CREATE_mrs(s.dc, s.reg(DR_REG_X26), s.reg(DR_REG_NZCV)));
  s.add(INSTR_CREATE_str(s.dc, s.mem(DR_REG_X27, offsetof(cpu_state, nzcv), OPSZ_8), s.reg(DR_REG_X26)));
  s.add(INSTR_CREATE_mrs(s.dc, s.reg(DR_REG_X26), s.reg(DR_REG_FPSR)));
  s.add(INSTR_CREATE_str(s.dc, s.mem(DR_REG_X27, offsetof(cpu_state, fpsr), OPSZ_4), s.reg(DR_REG_W26)));
}

// Steps 14-18: cpu_state back into the application's registers.
void reload_registers(Inserter& s) {
  s.add(INSTR_CREATE_ldr(s.dc, s.reg(DR_REG_W26), s.mem(DR_REG_X27, offsetof(cpu_state, fpsr), OPSZ_4)));
  s.add(INSTR_CREATE_msr(s.dc, s.reg(DR_REG_FPSR), s.reg(DR_REG_X26)));
  s.add(INSTR_CREATE_ldr(s.dc, s.reg(DR_REG_X26), s.mem(DR_REG_X27, offsetof(cpu_state, nzcv), OPSZ_8)));
  s.add(INSTR_CREATE_msr(s.dc, s.reg(DR_REG_NZCV), s.reg(DR_REG_X26)));
  s.add(INSTR_CREATE_add(s.dc, s.reg(DR_REG_X26), s.reg(DR_REG_X27), OPND_CREATE_INT(kOffZ)));
  for (int i = 0; i < 32; ++i)
    s.add(INSTR_CREATE_ldr(s.dc, s.reg(DR_REG_Q0 + i), s.mem(DR_REG_X26, SVE_VL_BYTES * i, OPSZ_16)));
  for (int i = 0; i < 26; i += 2)
    s.add(INSTR_CREATE_ldp(s.dc, s.reg(DR_REG_X0 + i), s.reg(DR_REG_X0 + i + 1), s.mem(DR_REG_X27, 8 * i, OPSZ_16)));
  s.add(INSTR_CREATE_ldp(s.dc, s.reg(DR_REG_X29), s.reg(DR_REG_X30), s.mem(DR_REG_X27, 8 * 29, OPSZ_16)));
  s.add(INSTR_CREATE_ldr(s.dc, s.reg(DR_REG_X26), s.mem(DR_REG_X27, offsetof(cpu_state, sp), OPSZ_8)));
  s.add(INSTR_CREATE_add(s.dc, s.reg(DR_REG_SP), s.reg(DR_REG_X26), OPND_CREATE_INT(0)));
}

void rewrite_sve(void* dc, instrlist_t* bb, instr_t* instr, Handler handler) {
  app_pc pc = instr_get_app_pc(instr);
  unsigned int word = *reinterpret_cast<const unsigned int*>(pc);
  DR_ASSERT(dr_get_stolen_reg() == DR_REG_X28);

  // The marker owns its own copy of the instruction: the original is destroyed below.
  instr_t* copy = instr_create(dc);
  instr_set_raw_bits(copy, pc, 4);
  instr_set_raw_bits_valid(copy, true);
  emulated_instr_t marker = {sizeof(emulated_instr_t), pc, copy, dr_emulate_options_t(0)};
  drmgr_insert_emulation_start(dc, bb, instr, &marker);

  dr_save_reg(dc, bb, instr, DR_REG_X26, kSlotX26);
  dr_save_reg(dc, bb, instr, DR_REG_X27, kSlotX27);
  dr_insert_get_stolen_reg_value(dc, bb, instr, DR_REG_X27);
  dr_save_reg(dc, bb, instr, DR_REG_X27, kSlotX28);
  read_state_pointer(dc, bb, instr, DR_REG_X27);

  Inserter s{dc, bb, instr, pc};
  spill_registers(s);
  dr_insert_call_zorix(dc, bb, instr, pc, reinterpret_cast<void*>(emulate_instruction), 3, OPND_CREATE_INT32(word),
                       OPND_CREATE_INTPTR(pc), OPND_CREATE_INTPTR(handler));
  read_state_pointer(dc, bb, instr, DR_REG_X27);
  reload_registers(s);

  dr_restore_reg(dc, bb, instr, DR_REG_X27, kSlotX28);
  dr_insert_set_stolen_reg_value(dc, bb, instr, DR_REG_X27);
  dr_restore_reg(dc, bb, instr, DR_REG_X27, kSlotX27);
  dr_restore_reg(dc, bb, instr, DR_REG_X26, kSlotX26);
  drmgr_insert_emulation_end(dc, bb, instr);

  instrlist_remove(bb, instr);
  instr_destroy(dc, instr);
}

bool is_msr_fpcr(instr_t* instr) {
  return instr_get_opcode(instr) == OP_msr && instr_num_dsts(instr) == 1 && opnd_is_reg(instr_get_dst(instr, 0)) &&
         opnd_get_reg(instr_get_dst(instr, 0)) == DR_REG_FPCR;
}

// The FPCR shadow: the value an MSR FPCR writes is also stored to cpu_state,
// so that emulated floating point sees the application's settings. The MSR
// itself still runs.
void shadow_fpcr(void* dc, instrlist_t* bb, instr_t* instr) {
  reg_id_t source = opnd_get_reg(instr_get_src(instr, 0));
  reg_id_t scratch = source == DR_REG_X21 ? DR_REG_X22 : DR_REG_X21;
  dr_save_reg(dc, bb, instr, scratch, kSlotX28);
  read_state_pointer(dc, bb, instr, scratch);
  Inserter s{dc, bb, instr, instr_get_app_pc(instr)};
  s.add(INSTR_CREATE_str(dc, s.mem(scratch, offsetof(cpu_state, fpcr), OPSZ_4),
                         s.reg(reg_resize_to_opsz(source, OPSZ_4))));
  dr_restore_reg(dc, bb, instr, scratch, kSlotX28);
}

// A rewritten instruction takes about a kilobyte of code cache and a block
// may not exceed 32 KiB on AArch64 (the reach of TBZ/TBNZ): a block with more
// SVE instructions than this ends early, and the rest starts a new block.
constexpr int kMaxRewritesPerBlock = 16;

void truncate_from(void* dc, instrlist_t* bb, instr_t* first) {
  for (instr_t *in = first, *next; in != nullptr; in = next) {
    next = instr_get_next(in);
    instrlist_remove(bb, in);
    instr_destroy(dc, in);
  }
}

dr_emit_flags_t event_instruction_change(void* drcontext, void*, instrlist_t* bb, bool, bool) {
  int rewrites = 0;
  for (instr_t *instr = instrlist_first_app(bb), *next; instr != nullptr; instr = next) {
    next = instr_get_next_app(instr);
    const byte* raw = instr_get_raw_bits(instr);
    if (raw == nullptr) continue;
    Handler handler = get_sve_handler(*reinterpret_cast<const unsigned int*>(raw));
    if (handler != nullptr) {
      rewrite_sve(drcontext, bb, instr, handler);
      if (++rewrites == kMaxRewritesPerBlock && next != nullptr) {
        truncate_from(drcontext, bb, next);
        break;
      }
    } else if (is_msr_fpcr(instr)) {
      shadow_fpcr(drcontext, bb, instr);
    }
  }
  return DR_EMIT_DEFAULT;
}

// ---------------------------------------------------------------------------
// Start-up, threads and shut-down.

void event_thread_init(void* drcontext) {
  void* state = dr_thread_alloc(drcontext, sizeof(cpu_state));
  if (!drmgr_set_tls_field(drcontext, tls_idx, state)) DR_ASSERT(false);
}

void event_thread_exit(void* drcontext) {
  void* data = drmgr_get_tls_field(drcontext, tls_idx);
  DR_ASSERT(data != NULL);
  sve_thread_exit();
  dr_thread_free(drcontext, data, sizeof(cpu_state));
}

void event_exit() {
  dr_log(nullptr, DR_LOG_ALL, 1, "SVE client exiting\n");
  sve_exit();
  if (!drmgr_unregister_bb_app2app_event(event_instruction_change) || drreg_exit() != DRREG_SUCCESS)
    DR_ASSERT(false);
  drmgr_exit();
}

// The client declares no options: any argument before "--" is refused. The
// option library stops quietly at a word without a leading dash; such a word
// is refused with the same text.
bool parse_options(int argc, const char* argv[], std::string* error) {
  int last = 0;
  if (!dynamorio::droption::droption_parser_t::parse_argv(dynamorio::droption::DROPTION_SCOPE_CLIENT, argc, argv,
                                                          error, &last))
    return false;
  if (last < argc && last > 0 && std::string(argv[last - 1]) != "--") {
    *error = std::string("Unknown option: ") + argv[last];
    return false;
  }
  return true;
}

}  // namespace

// The framework forbids a client to install signal actions of its own (they
// would displace its handler); faults are caught around each emulation call
// instead (run_handler), so the emulator must not install SVESigHandler.
extern "C" bool sve_host_owns_signals() { return true; }

DR_EXPORT void dr_client_main(client_id_t, int argc, const char* argv[]) {
  dr_set_client_name("Tavo SVE emulation client", "https://github.com/tavo-sve/sve-emulator/issues");
  std::string error;
  if (!parse_options(argc, argv, &error)) {
    dr_fprintf(STDERR, "SVE emulation client usage error: %s\n", error.c_str());
    dr_abort();
  }
  if (!drmgr_init()) DR_ASSERT(false);
  drmgr_register_thread_init_event(event_thread_init);
  drmgr_register_thread_exit_event(event_thread_exit);
  // drmgr.h replaces dr_register_exit_event; its own registration is the equivalent.
  drmgr_register_exit_event(event_exit);
  drmgr_priority_t priority = {sizeof(priority), "emulate_instruction", nullptr, nullptr, 0};
  if (!drmgr_register_bb_app2app_event(event_instruction_change, &priority)) DR_ASSERT(false);
  tls_idx = drmgr_register_tls_field();
  DR_ASSERT(tls_idx != -1);
  if (!sve_init(nullptr, dr_get_application_name())) DR_ASSERT(false);
  dr_log(nullptr, DR_LOG_ALL, 1, "SVE client initializing\n");
}
