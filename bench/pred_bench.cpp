// Cost per emulated instruction of the predicate, permute and count
// families, through the decode lookup and the handler as the client calls them.
//
//   pred_bench [Google Benchmark options]    nanoseconds per emulated instruction
//   pred_bench --repeat LABEL N              runs one entry N times and exits (for
//                                            instruction counts under callgrind)
//   pred_bench --labels                      lists the entries
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "bench/word_bench.h"

namespace {

// Fixed-length forms next to their length-agnostic twins.
const BenchCase kCases[] = {
    {"pred_logic/fixed/and", 0x25034440, "and p0.b, p1/z, p2.b, p3.b"},
    {"pred_logic/agnostic/ands", 0x25434440, "ands p0.b, p1/z, p2.b, p3.b"},
    {"pred_logic/agnostic/nand", 0x25834650, "nand p0.b, p1/z, p2.b, p3.b"},
    {"pred_logic/fixed/sel", 0x25034650, "sel p0.b, p1, p2.b, p3.b"},
    {"pred_test/fixed/ptest", 0x2550c440, "ptest p1, p2.b"},
    {"pred_test/fixed/pnext_s", 0x2599c420, "pnext p0.s, p1, p0.s"},
    {"pred_test/fixed/pnext_b", 0x2519c420, "pnext p0.b, p1, p0.b"},
    {"pred_test/fixed/pnext_d", 0x25d9c420, "pnext p0.d, p1, p0.d"},
    {"pred_test/agnostic/pfirst", 0x2558c020, "pfirst p0.b, p1, p0.b"},
    {"pred_ptrue/fixed/ptrue_s", 0x2598e3e0, "ptrue p0.s"},
    {"pred_ptrue/agnostic/ptrues_s", 0x2599e3e0, "ptrues p0.s"},
    {"pred_ptrue/fixed/ptrue_b", 0x2518e3e0, "ptrue p0.b"},
    {"pred_ptrue/fixed/ptrue_d_vl7", 0x25d8e0e0, "ptrue p0.d, vl7"},
    {"pred_ptrue/agnostic/ptrues_b", 0x2519e3e0, "ptrues p0.b"},
    {"pred_ptrue/agnostic/ptrues_d_vl7", 0x25d9e0e0, "ptrues p0.d, vl7"},
    {"pred_ptrue/agnostic/ptrues_h_pow2", 0x2559e000, "ptrues p0.h, pow2"},
    {"pred_ptrue/agnostic/ptrues_s_mul3", 0x2599e3c0, "ptrues p0.s, mul3"},
    {"pred_brk/fixed/brka", 0x25104440, "brka p0.b, p1/z, p2.b"},
    {"pred_brk/agnostic/brkas", 0x25504440, "brkas p0.b, p1/z, p2.b"},
    {"pred_brk/fixed/brkpb", 0x2503c450, "brkpb p0.b, p1/z, p2.b, p3.b"},
    {"pred_brk/fixed/brkpbs", 0x2543c450, "brkpbs p0.b, p1/z, p2.b, p3.b"},
    {"pred_brk/fixed/brkn", 0x25184462, "brkn p2.b, p1/z, p3.b, p2.b"},
    {"pred_brk/fixed/brkns", 0x25584462, "brkns p2.b, p1/z, p3.b, p2.b"},
    {"pred_brk/agnostic/brkpa", 0x2503c440, "brkpa p0.b, p1/z, p2.b, p3.b"},
    {"pred_permute/fixed/zip1_h", 0x05624020, "zip1 p0.h, p1.h, p2.h"},
    {"pred_permute/agnostic/trn1_h", 0x05625020, "trn1 p0.h, p1.h, p2.h"},
    {"perm_zip/fixed/zip1_s", 0x05a26020, "zip1 z0.s, z1.s, z2.s"},
    {"perm_tbl_ext/fixed/tbl_b", 0x05223020, "tbl z0.b, {z1.b}, z2.b"},
    {"perm_tbl_ext/fixed/tbl_h", 0x05623020, "tbl z0.h, {z1.h}, z2.h"},
    {"perm_tbl_ext/fixed/tbl_s", 0x05a23020, "tbl z0.s, {z1.s}, z2.s"},
    {"perm_tbl_ext/fixed/tbl_d", 0x05e23020, "tbl z0.d, {z1.d}, z2.d"},
    {"perm_tbl_ext/fixed/ext", 0x05201420, "ext z0.b, z0.b, z1.b, #5"},
    {"perm_dup/fixed/dup_zzi_s", 0x053c2020, "mov z0.s, z1.s[3]"},
    {"perm_dup/fixed/dup_zr_s", 0x05a03820, "mov z0.s, w1"},
    {"perm_dup/fixed/cpy_zpr_s", 0x05a8a420, "mov z0.s, p1/m, w1"},
    {"perm_dup/fixed/cpy_zpi_s", 0x05910060, "mov z0.s, p1/z, #3"},
    {"perm_sel/fixed/sel_s", 0x05a2c420, "sel z0.s, p1, z1.s, z2.s"},
    {"perm_unpack/fixed/uunpklo_h", 0x05723820, "uunpklo z0.h, z1.b"},
    {"perm_unpack/fixed/uunpkhi_h", 0x05733820, "uunpkhi z0.h, z1.b"},
    {"perm_unpack/fixed/uunpklo_s", 0x05b23820, "uunpklo z0.s, z1.h"},
    {"perm_unpack/fixed/uunpklo_d", 0x05f23820, "uunpklo z0.d, z1.s"},
    {"perm_unpack/agnostic/sunpklo_h", 0x05703820, "sunpklo z0.h, z1.b"},
    {"perm_last/fixed/lastb_s", 0x05a1a420, "lastb w0, p1, z1.s"},
    {"perm_last/agnostic/lasta_s", 0x05a0a420, "lasta w0, p1, z1.s"},
    {"perm_last/fixed/clastb_s", 0x05b1a420, "clastb w0, p1, w0, z1.s"},
    {"perm_last/agnostic/clasta_s", 0x05b0a420, "clasta w0, p1, w0, z1.s"},
    {"perm_insert/agnostic/insr_s", 0x05a43820, "insr z0.s, w1"},
    {"perm_compact/agnostic/splice_s", 0x05ac8420, "splice z0.s, p1, z0.s, z1.s"},
    {"perm_compact/agnostic/compact_s", 0x05a18420, "compact z0.s, p1, z1.s"},
    {"count_pred/fixed/cntp_s", 0x25a08440, "cntp x0, p1, p2.s"},
    {"count_pred/fixed/incp_s", 0x25ac8820, "incp x0, p1.s"},
    {"count_pred/agnostic/decp_s", 0x25ad8820, "decp x0, p1.s"},
    {"count_inc/fixed/incw_x", 0x04b2e3e0, "incw x0, all, mul #3"},
    {"count_inc/agnostic/cntw", 0x04a2e3e0, "cntw x0, all, mul #3"},
    {"count_inc/agnostic/sqincw_x", 0x04a0f3e0, "sqincw x0, w0"},
    {"count_inc/fixed/incw_z", 0x04b0c3e0, "incw z0.s"},
    {"count_inc/agnostic/sqincw_z", 0x04a0c3e0, "sqincw z0.s"},
    {"count_while/fixed/whilelo_s", 0x25a21c20, "whilelo p0.s, x1, x2"},
    {"count_while/fixed/whilelt_s", 0x25a21420, "whilelt p0.s, x1, x2"},
    {"count_while/fixed/whilels_s", 0x25a21c30, "whilels p0.s, x1, x2"},
    {"count_while/agnostic/whilele_s", 0x25a21430, "whilele p0.s, x1, x2"},
    {"count_while/agnostic/whilele_b", 0x25221430, "whilele p0.b, x1, x2"},
    {"count_while/agnostic/whilele_d_w", 0x25e20430, "whilele p0.d, w1, w2"},
    {"count_index/fixed/index_ii_s", 0x04a34020, "index z0.s, #1, #3"},
    {"count_index/fixed/addvl", 0x04215040, "addvl x0, x1, #2"},
    {"count_cterm/agnostic/ctermeq", 0x25e22020, "ctermeq x1, x2"},
};

cpu_state* make_state() { return bench_state(true); }

}  // namespace

int main(int argc, char** argv) { return WordBench{"pred_bench", kCases, make_state}.main(argc, argv); }
