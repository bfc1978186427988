// SUNPKLO, SUNPKHI, UUNPKLO, UUNPKHI: half of Zn widened to twice the element
// width. Zero-extending forms and the sign-extending form to doublewords run
// fixed length; sign extension to halfwords and words runs length agnostic.
#include <type_traits>
#include <utility>

#include "sve/decode/routes.h"
#include "sve/int/pred_drivers.h"

namespace sve {
namespace {

// Wide element i = Narrow element (half + i), extended by the narrow type's signedness.
template <class Narrow> using WideOf = std::conditional_t<
    std::is_signed_v<Narrow>, IntOf<2 * sizeof(Narrow), true>, IntOf<2 * sizeof(Narrow), false>>;

template <class Narrow>
inline void unpack_loop(uint8_t* d, const uint8_t* a, int wide_elems, int half) {
  using Wide = WideOf<Narrow>;
#pragma GCC unroll 16
  for (int i = 0; i < wide_elems; ++i) set_elem<Wide>(d, i, Wide(elem<Narrow>(a, half + i)));
}

// Fixed length, on 16-byte vectors of Narrow elements: each element next to
// its extension (zero, or copies of its sign bit) is the wide element, so a
// half vector widens by one interleave (one instruction on either host).
template <class Narrow> struct Vec16T {
  typedef Narrow type __attribute__((vector_size(16)));
};
template <class Narrow> using Vec16 = typename Vec16T<Narrow>::type;
template <class Narrow, int Half, size_t... I> constexpr Vec16<Narrow> interleave_mask(std::index_sequence<I...>) {
  constexpr int c = 16 / int(sizeof(Narrow));
  return Vec16<Narrow>{Narrow(Half * c / 2 + int(I) / 2 + (I % 2 ? c : 0))...};
}
template <class Narrow, int Half> inline Vec16<Narrow> widen(Vec16<Narrow> v) {
  constexpr int c = 16 / int(sizeof(Narrow));
  Vec16<Narrow> ext = std::is_signed_v<Narrow> ? v >> (8 * int(sizeof(Narrow)) - 1) : Vec16<Narrow>{};
  return __builtin_shuffle(v, ext, interleave_mask<Narrow, Half>(std::make_index_sequence<c>{}));
}
// The 56 bytes of the half of Zn as 16-byte loads within the register (the
// last one ends at the end of the half), all read before Zd, which may be
// Zn, is written.
// (Words to doublewords compile as well from the element loop.)
template <class Narrow, bool Hi>
aarch64_decode_rc unpack_fixed(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn) {
  static_assert(SVE_VL_BYTES == 112, "seven output pieces");
  if constexpr (sizeof(Narrow) == 4) {
    constexpr int n = SVE_VL_BYTES / 8;
    alignas(16) uint8_t tmp[SVE_VL_BYTES];
    unpack_loop<Narrow>(tmp, s->z[zn.num], n, Hi ? n : 0);
    std::memcpy(s->z[zd.num], tmp, SVE_VL_BYTES);
    return DECODE_OK;
  }
  const uint8_t* src = s->z[zn.num] + (Hi ? SVE_VL_BYTES / 2 : 0);
  Vec16<Narrow> in[4];
  for (int k = 0; k < 3; ++k) std::memcpy(&in[k], src + 16 * k, 16);
  std::memcpy(&in[3], src + 40, 16);
  Vec16<Narrow> out[7] = {widen<Narrow, 0>(in[0]), widen<Narrow, 1>(in[0]), widen<Narrow, 0>(in[1]),
                          widen<Narrow, 1>(in[1]), widen<Narrow, 0>(in[2]), widen<Narrow, 1>(in[2]),
                          widen<Narrow, 1>(in[3])};
  std::memcpy(s->z[zd.num], out, SVE_VL_BYTES);
  return DECODE_OK;
}

// Sixteen input bytes widen into 32 output bytes by two interleaves; the
// half of a vector length (a multiple of 16 bytes) is a multiple of eight,
// so at most one piece of eight is left.
// The low half goes from the top piece down and the high half from the
// bottom up, so no piece is overwritten before it is read when d is a.
template <class Narrow, bool Hi>
void unpack_routine(uint8_t* d, const uint8_t* a, const PredV*, uint64_t, CpuContext* c) {
  const int half = vl_bytes(c) / 2, pieces = half / 16;
  const uint8_t* src = a + (Hi ? half : 0);
  auto piece = [&](int i) {
    Vec16<Narrow> v, out[2];
    std::memcpy(&v, src + i, 16);
    out[0] = widen<Narrow, 0>(v), out[1] = widen<Narrow, 1>(v);
    std::memcpy(d + 2 * i, out, 32);
  };
  auto tail = [&] {
    if (half % 16 == 0) return;
    Vec16<Narrow> v{};
    std::memcpy(&v, src + 16 * pieces, 8);
    v = widen<Narrow, 0>(v);
    std::memcpy(d + 32 * pieces, &v, 16);
  };
  if constexpr (Hi) {
    for (int k = 0; k < pieces; ++k) piece(16 * k);
    tail();
  } else {
    tail();
    for (int k = pieces - 1; k >= 0; --k) piece(16 * k);
  }
}

}  // namespace
}  // namespace sve

#define SVE_UNPK_EXEC(NAME, NARROW, HI)                                          \
  aarch64_decode_rc NAME(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn) {     \
    return sve::unpack_fixed<NARROW, HI>(s, zd, zn);                             \
  }
SVE_UNPK_EXEC(sve_uunpklo_b2h_zz, uint8_t, false)
SVE_UNPK_EXEC(sve_uunpkhi_b2h_zz, uint8_t, true)
SVE_UNPK_EXEC(sve_uunpklo_h2s_zz, uint16_t, false)
SVE_UNPK_EXEC(sve_uunpkhi_h2s_zz, uint16_t, true)
SVE_UNPK_EXEC(sve_uunpklo_s2d_zz, uint32_t, false)
SVE_UNPK_EXEC(sve_uunpkhi_s2d_zz, uint32_t, true)
SVE_UNPK_EXEC(sve_sunpklo_s2d_zz, int32_t, false)
SVE_UNPK_EXEC(sve_sunpkhi_s2d_zz, int32_t, true)

#define SVE_UNPK_EXPORT(NAME, NARROW, HI)                                                     \
  extern "C" void NAME(uint8_t* d, const uint8_t* a, const PredV* p, uint64_t imm, CpuContext* c) { \
    sve::unpack_routine<NARROW, HI>(d, a, p, imm, c);                                         \
  }
SVE_UNPK_EXPORT(VecS16UnpackLoV, int8_t, false)
SVE_UNPK_EXPORT(VecS16UnpackHiV, int8_t, true)
SVE_UNPK_EXPORT(VecS32UnpackLoV, int16_t, false)
SVE_UNPK_EXPORT(VecS32UnpackHiV, int16_t, true)

namespace sve {
namespace {
using Zz = aarch64_decode_rc (*)(cpu_state*, aarch64_z_reg, aarch64_z_reg);
// Zd = bits 4-0, Zn = bits 9-5.
template <class T, Zz X> aarch64_decode_rc zz_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return X(s, zreg<T>(field(w, 4, 0)), zreg<T>(field(w, 9, 5)));
}
template <AgnosticVI R> aarch64_decode_rc agnostic_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  // The routine reads and writes only the first vl bytes of its vectors.
  return run_elementwise_vi(s, field(w, 4, 0), field(w, 9, 5), -1, 0, R);
}
}  // namespace
}  // namespace sve

const HandlerDef kPermUnpackHandlers[] = {
    SVE_DEF(U16, UnpackLoV, sve::zz_handler, &sve_uunpklo_b2h_zz),
    SVE_DEF(U16, UnpackHiV, sve::zz_handler, &sve_uunpkhi_b2h_zz),
    SVE_DEF(U32, UnpackLoV, sve::zz_handler, &sve_uunpklo_h2s_zz),
    SVE_DEF(U32, UnpackHiV, sve::zz_handler, &sve_uunpkhi_h2s_zz),
    SVE_DEF(U64, UnpackLoV, sve::zz_handler, &sve_uunpklo_s2d_zz),
    SVE_DEF(U64, UnpackHiV, sve::zz_handler, &sve_uunpkhi_s2d_zz),
    SVE_DEF(S64, UnpackLoV, sve::zz_handler, &sve_sunpklo_s2d_zz),
    SVE_DEF(S64, UnpackHiV, sve::zz_handler, &sve_sunpkhi_s2d_zz),
    SVE_AGN_DEF(S16, UnpackLoV, sve::agnostic_handler),
    SVE_AGN_DEF(S16, UnpackHiV, sve::agnostic_handler),
    SVE_AGN_DEF(S32, UnpackLoV, sve::agnostic_handler),
    SVE_AGN_DEF(S32, UnpackHiV, sve::agnostic_handler),
};
std::span<const HandlerDef> perm_unpack_handlers() { return kPermUnpackHandlers; }
