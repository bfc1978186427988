// Reordering within vectors: TBL, EXT and REV (vector). Fixed length.
#include "sve/decode/routes.h"
#include "sve/int/lanes.h"
#include "sve/int/perm_arrays.h"

#if defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace sve {
namespace {
// Zd[i] = Zn[Zm[i]] when the index is below the element count, else 0.
// Both forms read the whole table before writing d, and each index before
// the element it gives, so d may be any source.

using Bytes16 = Lanes<uint8_t>;

#if defined(__aarch64__)
// Sixteen byte lookups in the 112-byte table: a four-register lookup answers
// indices 0-63 (others give 0) and a three-register lookup-extend answers
// 64-111 from the index less 64 (others keep what they have).
struct Table112 {
  uint8x16x4_t lo;
  uint8x16x3_t hi;
};
inline Table112 load_table112(const uint8_t* table) { return {vld1q_u8_x4(table), vld1q_u8_x3(table + 64)}; }
inline Bytes16 lookup112(const Table112& t, Bytes16 k) {
  uint8x16_t r = vqtbl4q_u8(t.lo, uint8x16_t(k));
  return Bytes16(vqtbx3q_u8(r, t.hi, vsubq_u8(uint8x16_t(k), vdupq_n_u8(64))));
}
#else
// Sixteen byte lookups in the 112-byte table t (seven 16-byte pieces): each
// pair of pieces answers the low five bits of an index (two-source byte
// shuffles, a few instructions), bits 5 and 6 pick the pair, and indices from
// 112 up give zero.
struct Table112 {
  Bytes16 t[7];
};
inline Table112 load_table112(const uint8_t* table) {
  Table112 t;
  std::memcpy(t.t, table, SVE_VL_BYTES);
  return t;
}
inline Bytes16 lookup112(const Table112& tab, Bytes16 k) {
  const Bytes16* t = tab.t;
  Bytes16 p0 = __builtin_shuffle(t[0], t[1], k), p1 = __builtin_shuffle(t[2], t[3], k);
  Bytes16 p2 = __builtin_shuffle(t[4], t[5], k), p3 = __builtin_shuffle(t[6], k);
  auto b5_clear = (k & 32) == 0, b6_clear = (k & 64) == 0;
  Bytes16 r = b6_clear ? (b5_clear ? p0 : p1) : (b5_clear ? p2 : p3);
  return k < SVE_VL_BYTES ? r : Bytes16{};
}
#endif

// The byte indices of sixteen bytes of T elements: element index k reads
// bytes E*k to E*k+E-1 of the table; an index from the element count up
// reads 0xFF (out of range: zero) in every byte.
template <class T> inline Bytes16 byte_indices(const uint8_t* idx) {
  constexpr int E = int(sizeof(T));
  const Lanes<T> k = load_lanes<T>(idx);
  Bytes16 first = as_lanes<uint8_t>(k << __builtin_ctz(E)), spread, offset;  // E * k
  for (int i = 0; i < 16; ++i) spread[i] = uint8_t(i & -E), offset[i] = uint8_t(i % E);
  return (__builtin_shuffle(first, spread) + offset) | as_lanes<uint8_t>(k >= T(kElems<T>));
}
// Sixteen bytes of results at a time: byte elements look up their indices
// directly; wider ones look up their bytes' indices.
template <class T> inline void tbl_by_bytes(uint8_t* d, const uint8_t* table, const uint8_t* idx) {
  static_assert(SVE_VL_BYTES == 112, "seven table pieces");
  const Table112 t = load_table112(table);
#pragma GCC unroll 8
  for (int j = 0; j < SVE_VL_BYTES; j += 16) {
    const Bytes16 k = sizeof(T) == 1 ? load_lanes<uint8_t>(idx + j) : byte_indices<T>(idx + j);
    store_lanes<uint8_t>(d + j, lookup112(t, k));
  }
}
// Wider elements, one load each from the table copied with a zero after it;
// out-of-range indices are clamped to the zero, for 16- and 32-bit elements
// in a vector loop of their own (a 64-bit unsigned minimum is no vector
// instruction on either host, so doublewords clamp as they go).
template <class T> void tbl_wide(uint8_t* d, const uint8_t* table, const uint8_t* idx) {
  constexpr int n = kElems<T>;
  T t[n + 1], k[n];  // k: the clamped indices
  std::memcpy(t, table, SVE_VL_BYTES);
  t[n] = 0;
  auto clamped = [&](int i) {
    T x = elem<T>(idx, i);
    return x < T(n) ? x : T(n);
  };
  if constexpr (sizeof(T) == 8) {
#pragma GCC unroll 16
    for (int i = 0; i < n; ++i) set_elem<T>(d, i, t[clamped(i)]);
  } else {
#pragma GCC unroll 16
    for (int i = 0; i < n; ++i) k[i] = clamped(i);
#pragma GCC unroll 16
    for (int i = 0; i < n; ++i) set_elem<T>(d, i, t[k[i]]);
  }
}
// Byte lookups are cheap with AArch64's multi-register TBL, so every element
// size looks up its bytes there; on x86 a lookup in 112 bytes costs several
// shuffles, so wider elements load one by one.
template <class T> void tbl(uint8_t* d, const uint8_t* table, const uint8_t* idx) {
#if defined(__aarch64__)
  tbl_by_bytes<T>(d, table, idx);
#else
  if constexpr (sizeof(T) == 1) tbl_by_bytes<T>(d, table, idx);
  else tbl_wide<T>(d, table, idx);
#endif
}
}  // namespace
}  // namespace sve

SVE_EXECUTORS_BEGIN
SVE_EXECUTOR aarch64_decode_rc sve_tbl_zzz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn, aarch64_z_reg zm) {
  return sve::by_esize<false>(zd.esize, [&](auto t) {
    sve::tbl<typename decltype(t)::type>(s->z[zd.num], s->z[zn.num], s->z[zm.num]);
    return DECODE_OK;
  });
}
SVE_EXECUTORS_END

// Zdn = 112 bytes of Zdn:Zm from the byte offset; an offset past the vector counts as 0.
aarch64_decode_rc sve_ext_zzi(cpu_state* s, aarch64_z_reg zdn, aarch64_z_reg zm, unsigned offset) {
  if (offset >= unsigned(SVE_VL_BYTES)) offset = 0;
  alignas(16) uint8_t both[2 * SVE_VL_BYTES];  // fixed-size copies, no library calls
  std::memcpy(both, s->z[zdn.num], SVE_VL_BYTES);
  std::memcpy(both + SVE_VL_BYTES, s->z[zm.num], SVE_VL_BYTES);
  std::memcpy(s->z[zdn.num], both + offset, SVE_VL_BYTES);
  return DECODE_OK;
}

aarch64_decode_rc sve_rev_zz(cpu_state* s, aarch64_z_reg zd, aarch64_z_reg zn) {
  sve::permute_bytes<sve::Rev>(s->z[zd.num], s->z[zn.num], s->z[zn.num], 1 << zd.esize);
  return DECODE_OK;
}

namespace sve {
namespace {
// EXT: Zdn = bits 4-0, Zm = bits 9-5, offset = bits 20-16 : 12-10.
aarch64_decode_rc ext_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_ext_zzi(s, zreg<uint8_t>(field(w, 4, 0)), zreg<uint8_t>(field(w, 9, 5)),
                     (field(w, 20, 16) << 3) | field(w, 12, 10));
}
// REV: Zd = bits 4-0, Zn = bits 9-5.
template <class T> aarch64_decode_rc rev_handler(cpu_state* s, unsigned w) {
  s->insn = w;
  return sve_rev_zz(s, zreg<T>(field(w, 4, 0)), zreg<T>(field(w, 9, 5)));
}
}  // namespace
}  // namespace sve

const HandlerDef kPermTblExtHandlers[] = {
    SVE_DEFS_U(TblVV, sve::h_zzz, &sve_tbl_zzz),
    SVE_DEFS_U(ReverseV, sve::rev_handler),
    HandlerDef{"VecU8SlideVI", &sve::ext_handler},
};
std::span<const HandlerDef> perm_tbl_ext_handlers() { return kPermTblExtHandlers; }
