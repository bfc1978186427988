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
};

cpu_state* make_state() { return bench_state(false); }

}  // namespace

int main(int argc, char** argv) { return WordBench{"int_bench", kCases, make_state}.main(argc, argv); }
