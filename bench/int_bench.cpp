// Cost per emulated instruction of the integer families, through the decode
// lookup and the handler as the client calls them.
//
//   int_bench [Google Benchmark options]     nanoseconds per emulated instruction
//   int_bench --repeat LABEL N               runs one entry N times and exits (for
//                                            instruction counts under callgrind)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "bench/word_bench.h"

namespace {

// Fixed-length forms next to their length-agnostic twins.
const BenchCase kCases[] = {
    {"arith/fixed/add_zpz_b", 0x04000020, "add z0.b, p0/m, z0.b, z1.b"},
    {"arith/fixed/add_zpz_d", 0x04c00020, "add z0.d, p0/m, z0.d, z1.d"},
    {"arith/fixed/sub_zpz_b", 0x04010020, "sub z0.b, p0/m, z0.b, z1.b"},
    {"arith/agnostic/subr_zpz_b", 0x04030020, "subr z0.b, p0/m, z0.b, z1.b"},
    {"arith/agnostic/subr_zpz_d", 0x04c30020, "subr z0.d, p0/m, z0.d, z1.d"},
    {"arith/fixed/add_zzz_b", 0x04220020, "add z0.b, z1.b, z2.b"},
    {"arith/fixed/add_zzz_d", 0x04e20020, "add z0.d, z1.d, z2.d"},
    {"arith/fixed/add_zi_h", 0x2560c060, "add z0.h, z0.h, #3"},
    {"arith/agnostic/subr_zi_h", 0x2563c060, "subr z0.h, z0.h, #3"},
    {"arith/fixed/smax_zpz_b", 0x04080020, "smax z0.b, p0/m, z0.b, z1.b"},
    {"arith/agnostic/smax_zi_b", 0x2528c060, "smax z0.b, z0.b, #3"},
    {"arith/agnostic/sabd_zpz_b", 0x040c0020, "sabd z0.b, p0/m, z0.b, z1.b"},
    {"logic/fixed/and_zpz_b", 0x041a0020, "and z0.b, p0/m, z0.b, z1.b"},
    {"logic/fixed/and_zzz", 0x04223020, "and z0.d, z1.d, z2.d"},
    {"logic/fixed/and_zi", 0x058200e0, "and z0.d, z0.d, #0xff"},
    {"multiply/fixed/mul_zpz_s", 0x04900020, "mul z0.s, p0/m, z0.s, z1.s"},
    {"multiply/agnostic/umulh_zpz_s", 0x04930020, "umulh z0.s, p0/m, z0.s, z1.s"},
    {"multiply/fixed/mul_zi_s", 0x25b0c060, "mul z0.s, z0.s, #3"},
    {"multiply/fixed/mla_zpzz_s", 0x04824020, "mla z0.s, p0/m, z1.s, z2.s"},
    {"divide/fixed/sdiv_zpz_s", 0x04940020, "sdiv z0.s, p0/m, z0.s, z1.s"},
    {"divide/fixed/udiv_zpz_s", 0x04950020, "udiv z0.s, p0/m, z0.s, z1.s"},
    {"divide/fixed/sdiv_zpz_d", 0x04d40020, "sdiv z0.d, p0/m, z0.d, z1.d"},
    {"shift/fixed/lsl_zpz_b", 0x04138020, "lsl z0.b, p0/m, z0.b, z1.b"},
    {"shift/agnostic/lslr_zpz_b", 0x04178020, "lslr z0.b, p0/m, z0.b, z1.b"},
    {"shift/agnostic/lsl_wide_zpz_b", 0x041b8020, "lsl z0.b, p0/m, z0.b, z1.d"},
    {"shift/agnostic/lsl_wide_zzz_b", 0x04228c20, "lsl z0.b, z1.b, z2.d"},
    {"shift/fixed/asr_zpi_b", 0x040081a0, "asr z0.b, p0/m, z0.b, #3"},
    {"shift/agnostic/lsr_zpi_b", 0x040181a0, "lsr z0.b, p0/m, z0.b, #3"},
    {"shift/fixed/asr_zzi_b", 0x042d9020, "asr z0.b, z1.b, #3"},
    {"shift/agnostic/lsr_zzi_b", 0x042d9420, "lsr z0.b, z1.b, #3"},
    {"shift/agnostic/asrd_zpi_b", 0x040481a0, "asrd z0.b, p0/m, z0.b, #3"},
    {"unary/fixed/neg_b", 0x0417a020, "neg z0.b, p0/m, z1.b"},
    {"unary/agnostic/abs_b", 0x0416a020, "abs z0.b, p0/m, z1.b"},
    {"unary/agnostic/not_b", 0x041ea020, "not z0.b, p0/m, z1.b"},
    {"unary/agnostic/cnt_b", 0x041aa020, "cnt z0.b, p0/m, z1.b"},
    {"unary/fixed/rbit_b", 0x05278020, "rbit z0.b, p0/m, z1.b"},
    {"unary/fixed/sxtb_s", 0x0490a020, "sxtb z0.s, p0/m, z1.s"},
    {"unary/agnostic/uxtb_s", 0x0491a020, "uxtb z0.s, p0/m, z1.s"},
    {"unary/fixed/revw_d", 0x05e68020, "revw z0.d, p0/m, z1.d"},
    {"unary/agnostic/revb_d", 0x05e48020, "revb z0.d, p0/m, z1.d"},
    {"compare/fixed/cmpgt_ppzz_b", 0x24018410, "cmpgt p0.b, p1/z, z0.b, z1.b"},
    {"compare/fixed/cmpgt_ppzz_d", 0x24c18410, "cmpgt p0.d, p1/z, z0.d, z1.d"},
    {"compare/fixed/cmpgt_ppzi_b", 0x25030410, "cmpgt p0.b, p1/z, z0.b, #3"},
    {"compare/agnostic/cmpge_ppzi_b", 0x25030400, "cmpge p0.b, p1/z, z0.b, #3"},
    {"compare/agnostic/cmpgt_wide_b", 0x24014410, "cmpgt p0.b, p1/z, z0.b, z1.d"},
    {"reduce/fixed/uaddv_b", 0x04012020, "uaddv d0, p0, z1.b"},
    {"reduce/agnostic/saddv_b", 0x04002020, "saddv d0, p0, z1.b"},
    {"reduce/fixed/smaxv_b", 0x04082020, "smaxv b0, p0, z1.b"},
    {"movprfx/fixed/movprfx_zpz_b", 0x04112020, "movprfx z0.b, p0/m, z1.b"},
    // Further element sizes and forms.
    {"multiply/fixed/mla_zpzz_h", 0x04424020, "mla z0.h, p0/m, z1.h, z2.h"},
    {"multiply/fixed/mla_zpzz_d", 0x04c24020, "mla z0.d, p0/m, z1.d, z2.d"},
    {"multiply/fixed/mad_zpzz_s", 0x0481c040, "mad z0.s, p0/m, z1.s, z2.s"},
    {"multiply/fixed/mul_zpz_b", 0x04100020, "mul z0.b, p0/m, z0.b, z1.b"},
    {"multiply/fixed/mul_zpz_d", 0x04d00020, "mul z0.d, p0/m, z0.d, z1.d"},
    {"multiply/agnostic/umulh_zpz_d", 0x04d30020, "umulh z0.d, p0/m, z0.d, z1.d"},
    {"multiply/agnostic/smulh_zpz_b", 0x04120020, "smulh z0.b, p0/m, z0.b, z1.b"},
    {"divide/fixed/udiv_zpz_d", 0x04d50020, "udiv z0.d, p0/m, z0.d, z1.d"},
    {"divide/fixed/sdivr_zpz_s", 0x04960020, "sdivr z0.s, p0/m, z0.s, z1.s"},
    {"arith/fixed/umax_zpz_b", 0x04090020, "umax z0.b, p0/m, z0.b, z1.b"},
    {"arith/agnostic/sabd_zpz_s", 0x048c0020, "sabd z0.s, p0/m, z0.s, z1.s"},
    {"arith/agnostic/uabd_zpz_h", 0x044d0020, "uabd z0.h, p0/m, z0.h, z1.h"},
    {"arith/agnostic/smin_zi_h", 0x256ac060, "smin z0.h, z0.h, #3"},
    {"logic/fixed/eor_zpz_b", 0x04190020, "eor z0.b, p0/m, z0.b, z1.b"},
    {"logic/fixed/orr_zzz", 0x04623020, "orr z0.d, z1.d, z2.d"},
    {"shift/fixed/lsl_zpz_h", 0x04538020, "lsl z0.h, p0/m, z0.h, z1.h"},
    {"shift/fixed/lsl_zpz_s", 0x04938020, "lsl z0.s, p0/m, z0.s, z1.s"},
    {"shift/fixed/asr_zpz_b", 0x04108020, "asr z0.b, p0/m, z0.b, z1.b"},
    {"shift/fixed/asr_zpi_h", 0x040083a0, "asr z0.h, p0/m, z0.h, #3"},
    {"shift/fixed/lsl_zpi_b", 0x04038160, "lsl z0.b, p0/m, z0.b, #3"},
    {"shift/fixed/lsl_zzi_b", 0x042b9c20, "lsl z0.b, z1.b, #3"},
    {"shift/fixed/asr_zzi_h", 0x043d9020, "asr z0.h, z1.h, #3"},
    {"shift/agnostic/lsr_zzi_d", 0x04fd9420, "lsr z0.d, z1.d, #3"},
    {"shift/agnostic/asrd_zpi_s", 0x044483a0, "asrd z0.s, p0/m, z0.s, #3"},
    {"shift/agnostic/lsr_wide_zpz_s", 0x04998020, "lsr z0.s, p0/m, z0.s, z1.d"},
    {"unary/fixed/neg_s", 0x0497a020, "neg z0.s, p0/m, z1.s"},
    {"unary/agnostic/abs_s", 0x0496a020, "abs z0.s, p0/m, z1.s"},
    {"unary/fixed/rbit_h", 0x05678020, "rbit z0.h, p0/m, z1.h"},
    {"unary/fixed/rbit_d", 0x05e78020, "rbit z0.d, p0/m, z1.d"},
    {"unary/agnostic/clz_b", 0x0419a020, "clz z0.b, p0/m, z1.b"},
    {"unary/agnostic/clz_s", 0x0499a020, "clz z0.s, p0/m, z1.s"},
    {"unary/agnostic/cls_h", 0x0458a020, "cls z0.h, p0/m, z1.h"},
    {"unary/agnostic/cnt_s", 0x049aa020, "cnt z0.s, p0/m, z1.s"},
    {"unary/agnostic/revh_d", 0x05e58020, "revh z0.d, p0/m, z1.d"},
    {"reduce/fixed/uaddv_h", 0x04412020, "uaddv d0, p0, z1.h"},
    {"reduce/fixed/uaddv_s", 0x04812020, "uaddv d0, p0, z1.s"},
    {"reduce/fixed/smaxv_h", 0x04482020, "smaxv h0, p0, z1.h"},
    {"reduce/fixed/umaxv_s", 0x04892020, "umaxv s0, p0, z1.s"},
    {"reduce/fixed/andv_b", 0x041a2020, "andv b0, p0, z1.b"},
    {"reduce/agnostic/saddv_h", 0x04402020, "saddv d0, p0, z1.h"},
    {"movprfx/fixed/movprfx_zpz_s_zeroing", 0x04902020, "movprfx z0.s, p0/z, z1.s"},
    {"movprfx/fixed/movprfx_zz", 0x0420bc20, "movprfx z0, z1"},
};

cpu_state* make_state() { return bench_state(false); }

}  // namespace

int main(int argc, char** argv) { return WordBench{"int_bench", kCases, make_state}.main(argc, argv); }
