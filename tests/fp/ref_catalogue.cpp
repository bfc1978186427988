#include "tests/fp/ref_catalogue.h"

#include "sve/fp/arith.h"
#include "sve/fp/compare.h"
#include "sve/fp/convert.h"
#include "sve/fp/estimate.h"

namespace fpref {

namespace {

using H = unsigned short;
using S = unsigned int;
using D = unsigned long;

template <class R> Observed done(R value, FPSCR s) { return {uint64_t(value), s & 0x9Fu}; }

template <class T, T (*F)(T, FPSCR&)> Observed lib1(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  T r = F(T(c.a), s);
  return done(r, s);
}
template <class T, T (*F)(T, T, FPSCR&)> Observed lib2(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  T r = F(T(c.a), T(c.b), s);
  return done(r, s);
}
template <class T, T (*F)(T, T, T, FPSCR&)> Observed lib3(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  T r = F(T(c.a), T(c.b), T(c.c), s);
  return done(r, s);
}
template <class T, T (*F)(T)> Observed lib_plain(const RefCase& c) { return done(F(T(c.a)), 0); }

Op fp_op(std::string name, Observed (*lib)(const RefCase&), void (*gen)(Rng&, uint64_t*), int width,
         bool exhaustive = false) {
  return {std::move(name), nullptr, lib, gen, Src::FP, width, exhaustive};
}
template <class T> int width(Src src) { return src == Src::NZCV ? 4 : int(sizeof(T) * 8); }

// The half, single and double forms of an operation (name_h, name_s,
// name_d): LIB and GEN are written in T, the form's type.
#define SVE_HSD(v, name, src, half_exhaustive, LIB, GEN)                                            \
  { using T = H; v.push_back({name "_h", nullptr, LIB, GEN, src, width<T>(src), half_exhaustive}); } \
  { using T = S; v.push_back({name "_s", nullptr, LIB, GEN, src, width<T>(src), false}); }           \
  { using T = D; v.push_back({name "_d", nullptr, LIB, GEN, src, width<T>(src), false}); }
// One-operand operations: exhaustive in half, random in single and double.
#define SVE_ONE(v, name, L, F) SVE_HSD(v, name, Src::FP, true, (L<T, F<T>>), gen1<T>)
#define SVE_TWO(v, name, F) SVE_HSD(v, name, Src::FP, false, (lib2<T, F<T>>), gen2<T>)

void arithmetic(std::vector<Op>& v) {
  SVE_TWO(v, "fadd", FPAdd)
  SVE_TWO(v, "fsub", FPSub)
  SVE_TWO(v, "fmul", FPMul)
  SVE_TWO(v, "fmulx", FPMulX)
  SVE_TWO(v, "fdiv", FPDiv)
  SVE_HSD(v, "fmadd", Src::FP, false, (lib3<T, FPMulAdd<T>>), gen3<T>)
  SVE_ONE(v, "fsqrt", lib1, FPSqrt)
  SVE_ONE(v, "fneg", lib_plain, FPNeg)
  SVE_ONE(v, "fabs", lib_plain, FPAbs)
}

// A predicate as the all-ones or all-zeros mask of the scalar compares.
template <class T, bool (*F)(T, T, FPSCR&), bool kAbs> Observed lib_cmp(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  T a = T(c.a), b = T(c.b);
  bool r = kAbs ? F(FPAbs(a), FPAbs(b), s) : F(a, b, s);
  return done(r ? ~uint64_t(0) : 0, s);
}
template <class T, bool kSignal> Observed lib_fcmp(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  int nzcv = FPCompare(T(c.a), T(c.b), kSignal, s);
  return done(nzcv, s);
}

#define SVE_CMP(v, name, F, ABS) SVE_HSD(v, name, Src::FP, false, (lib_cmp<T, F<T>, ABS>), gen2<T>)
#define SVE_FCMP(v, name, SIGNAL) SVE_HSD(v, name, Src::NZCV, false, (lib_fcmp<T, SIGNAL>), gen2<T>)

void compare_select(std::vector<Op>& v) {
  SVE_CMP(v, "fcmeq", FPCompareEQ, false)
  SVE_CMP(v, "fcmge", FPCompareGE, false)
  SVE_CMP(v, "fcmgt", FPCompareGT, false)
  SVE_CMP(v, "facge", FPCompareGE, true)
  SVE_CMP(v, "facgt", FPCompareGT, true)
  SVE_FCMP(v, "fcmp", false)
  SVE_FCMP(v, "fcmpe", true)
  SVE_TWO(v, "fmax", FPMax)
  SVE_TWO(v, "fmin", FPMin)
  SVE_TWO(v, "fmaxnm", FPMaxNum)
  SVE_TWO(v, "fminnm", FPMinNum)
}

template <class To, class From, int kRm> Observed lib_convert(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  To r = FPConvert<To>(From(c.a), kRm < 0 ? fp_rmode(s) : kRm, s);
  return done(r, s);
}
template <class From, class To, int kRm, bool kUnsigned, int kFbits> Observed lib_toint(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  To r = fplibFPToFixed<From, To>(From(c.a), kFbits, kUnsigned, kRm, s);
  return done(r, s);
}
// The source integer is the low kBits of the operand, extended.
template <class T, int kBits, bool kUnsigned, int kFbits> Observed lib_fromint(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  uint64_t v = c.a;
  if (kBits < 64) v = kUnsigned ? v & ((uint64_t(1) << kBits) - 1) : uint64_t(int64_t(v << (64 - kBits)) >> (64 - kBits));
  T r = fplibFixedToFP<T>(v, kFbits, kUnsigned, fp_rmode(s), s);
  return done(r, s);
}
template <class T, int kRm, bool kExact> Observed lib_frint(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  T r = FPRoundInt(T(c.a), kRm < 0 ? fp_rmode(s) : kRm, kExact, s);
  return done(r, s);
}

Op x_op(std::string name, Observed (*lib)(const RefCase&), void (*gen)(Rng&, uint64_t*), int width,
        bool exhaustive = false) {
  return {std::move(name), nullptr, lib, gen, Src::X, width, exhaustive};
}

// Rounding to integral: every half, single and double around the integers.
template <class T> void gen_frint(Rng& r, uint64_t* ops) { sizeof(T) == 2 ? gen1<T>(r, ops) : gen_toint<T>(r, ops); }
#define SVE_FRINT(v, name, RM, EXACT) SVE_HSD(v, name, Src::FP, true, (lib_frint<T, RM, EXACT>), gen_frint<T>)

// fcvt<r><s|u>: every source and destination width under one rounding mode.
#define SVE_TOINT(v, name, RM, U)                                                             \
  v.push_back(fp_op(name "_h2h", lib_toint<H, H, RM, U, 0>, gen1<H>, 16, true));             \
  v.push_back(x_op(name "_h2w", lib_toint<H, S, RM, U, 0>, gen1<H>, 32, true));              \
  v.push_back(x_op(name "_h2x", lib_toint<H, D, RM, U, 0>, gen1<H>, 64, true));              \
  v.push_back(x_op(name "_s2w", lib_toint<S, S, RM, U, 0>, gen_toint<S>, 32));               \
  v.push_back(x_op(name "_s2x", lib_toint<S, D, RM, U, 0>, gen_toint<S>, 64));               \
  v.push_back(x_op(name "_d2w", lib_toint<D, S, RM, U, 0>, gen_toint<D>, 32));               \
  v.push_back(x_op(name "_d2x", lib_toint<D, D, RM, U, 0>, gen_toint<D>, 64));

#define SVE_FROMINT(v, name, U)                                                               \
  v.push_back(fp_op(name "_h2h", lib_fromint<H, 16, U, 0>, gen1<H>, 16, true));              \
  v.push_back(fp_op(name "_w2h", lib_fromint<H, 32, U, 0>, gen_int, 16));                    \
  v.push_back(fp_op(name "_x2h", lib_fromint<H, 64, U, 0>, gen_int, 16));                    \
  v.push_back(fp_op(name "_w2s", lib_fromint<S, 32, U, 0>, gen_int, 32));                    \
  v.push_back(fp_op(name "_x2s", lib_fromint<S, 64, U, 0>, gen_int, 32));                    \
  v.push_back(fp_op(name "_w2d", lib_fromint<D, 32, U, 0>, gen_int, 64));                    \
  v.push_back(fp_op(name "_x2d", lib_fromint<D, 64, U, 0>, gen_int, 64));

#define SVE_FIXED(v, U, US, F)                                                                          \
  v.push_back(x_op("fcvtz" US "_h2w_f" #F, lib_toint<H, S, 3, U, F>, gen1<H>, 32, true));               \
  v.push_back(x_op("fcvtz" US "_s2w_f" #F, lib_toint<S, S, 3, U, F>, gen_toint<S>, 32));                \
  v.push_back(x_op("fcvtz" US "_d2x_f" #F, lib_toint<D, D, 3, U, F>, gen_toint<D>, 64));                \
  v.push_back(fp_op(US "cvtf_w2h_f" #F, lib_fromint<H, 32, U, F>, gen_int, 16));                        \
  v.push_back(fp_op(US "cvtf_w2s_f" #F, lib_fromint<S, 32, U, F>, gen_int, 32));                        \
  v.push_back(fp_op(US "cvtf_x2d_f" #F, lib_fromint<D, 64, U, F>, gen_int, 64));

void conversions(std::vector<Op>& v) {
  v.push_back(fp_op("fcvt_h2s", lib_convert<S, H, -1>, gen1<H>, 32, true));
  v.push_back(fp_op("fcvt_h2d", lib_convert<D, H, -1>, gen1<H>, 64, true));
  v.push_back(fp_op("fcvt_s2d", lib_convert<D, S, -1>, gen1<S>, 64));
  v.push_back(fp_op("fcvt_s2h", lib_convert<H, S, -1>, gen_narrow<S, H>, 16));
  v.push_back(fp_op("fcvt_d2h", lib_convert<H, D, -1>, gen_narrow<D, H>, 16));
  v.push_back(fp_op("fcvt_d2s", lib_convert<S, D, -1>, gen_narrow<D, S>, 32));
  v.push_back(fp_op("fcvtxn_d2s", lib_convert<S, D, FPRounding_ODD>, gen_narrow<D, S>, 32));
  SVE_FRINT(v, "frintn", 0, false)
  SVE_FRINT(v, "frintp", 1, false)
  SVE_FRINT(v, "frintm", 2, false)
  SVE_FRINT(v, "frintz", 3, false)
  SVE_FRINT(v, "frinta", 4, false)
  SVE_FRINT(v, "frinti", -1, false)
  SVE_FRINT(v, "frintx", -1, true)
  SVE_TOINT(v, "fcvtns", 0, false)
  SVE_TOINT(v, "fcvtnu", 0, true)
  SVE_TOINT(v, "fcvtps", 1, false)
  SVE_TOINT(v, "fcvtpu", 1, true)
  SVE_TOINT(v, "fcvtms", 2, false)
  SVE_TOINT(v, "fcvtmu", 2, true)
  SVE_TOINT(v, "fcvtzs", 3, false)
  SVE_TOINT(v, "fcvtzu", 3, true)
  SVE_TOINT(v, "fcvtas", 4, false)
  SVE_TOINT(v, "fcvtau", 4, true)
  SVE_FROMINT(v, "scvtf", false)
  SVE_FROMINT(v, "ucvtf", true)
  SVE_FIXED(v, false, "s", 1)
  SVE_FIXED(v, true, "u", 1)
  SVE_FIXED(v, false, "s", 13)
  SVE_FIXED(v, true, "u", 13)
  SVE_FIXED(v, false, "s", 32)
  SVE_FIXED(v, true, "u", 32)
}

template <class T, T (*F)(T, T)> Observed lib_plain2(const RefCase& c) { return done(F(T(c.a), T(c.b)), 0); }
template <class T, int kIndex> Observed lib_ftmad(const RefCase& c) {
  FPSCR s = fpscr_from_fpcr(c.fpcr);
  T r = FPTRIMADD(kIndex, T(c.a), T(c.b), s);
  return done(r, s);
}
// Every bit pattern is meaningful to fexpa.
void gen_bits(Rng& r, uint64_t* ops) { ops[0] = r.next(); }

#define SVE_FTMAD(v, I) SVE_HSD(v, "ftmad" #I, Src::FP, false, (lib_ftmad<T, I>), gen2<T>)

void estimates(std::vector<Op>& v) {
  SVE_ONE(v, "frecpe", lib1, FPRecipEstimate)
  SVE_ONE(v, "frsqrte", lib1, FPRSqrtEstimate)
  SVE_ONE(v, "frecpx", lib1, FPRecpX)
  SVE_TWO(v, "frecps", FPRecipStepFused)
  SVE_TWO(v, "frsqrts", FPRSqrtStepFused)
  SVE_HSD(v, "fexpa", Src::FP, true, (lib_plain<T, FPEXPA<T>>), gen_bits)
  SVE_TWO(v, "ftsmul", FPTRISMUL)
  SVE_HSD(v, "ftssel", Src::FP, false, (lib_plain2<T, FPTRISSEL<T>>), gen2<T>)
  SVE_FTMAD(v, 0)
  SVE_FTMAD(v, 1)
  SVE_FTMAD(v, 2)
  SVE_FTMAD(v, 3)
  SVE_FTMAD(v, 4)
  SVE_FTMAD(v, 5)
  SVE_FTMAD(v, 6)
  SVE_FTMAD(v, 7)
}

}  // namespace

std::vector<Op> catalogue() {
  std::vector<Op> v;
  arithmetic(v);
  compare_select(v);
  conversions(v);
  estimates(v);
  return v;
}

namespace {

bool fz16(const RefCase& c) { return (c.fpcr & FPSCR_FZ16) != 0; }

// A half denormal widened under FZ16: the library reads it as a signed zero.
bool widened_half_denormal(const RefCase& c, const Observed&, const Observed& lib) {
  H h = H(c.a);
  bool signed_zero = lib.value == 0 || lib.value == 0x80000000u || lib.value == 0x8000000000000000u;
  return fz16(c) && fp_exp(h) == 0 && fp_frac(h) != 0 && signed_zero && lib.flags == 0;
}

// A half result of an integer conversion below the normal range under FZ16:
// the library rounds it (to a denormal, zero or the smallest normal) and
// raises UFC/IXC where the reference returns a signed zero with UFC alone.
bool tiny_half_from_int(const RefCase& c, const Observed& ref, const Observed& lib) {
  return fz16(c) && (lib.value & 0x7FFF) <= 0x400 && (ref.value & 0x7FFF) == 0 && ref.flags == FPSCR_UFC;
}

}  // namespace

const std::vector<Expectation> kExpectedDeviations = {
    {"fcvt_h2", widened_half_denormal,
     "half inputs of FPConvert are flushed under FZ16 like every other half input (silently), where the "
     "architecture's conversions ignore FZ16"},
    {"scvtf_w2h_f", tiny_half_from_int,
     "fplibFixedToFP never applies FZ16 to a half result, where the architecture flushes a tiny one"},
    {"ucvtf_w2h_f", tiny_half_from_int, "as scvtf_w2h_f"},
};
const std::vector<Expectation> kReferenceErrata = {};

}  // namespace fpref
