// The two execution routes of a handler, sharing one element loop:
//  - fixed length: works on cpu_state in place, SVE_VL_BYTES at a time, with
//    compile-time trip counts so the compiler can unroll and vectorise;
//  - length agnostic: works on 256-byte images, packed predicates and a
//    CpuContext, at the length the context names (exported under the
//    handler's name with C linkage).
// An operation is a functor `T operator()(T a, T b) const` (or unary / ternary)
// written once and driven by either route.
#pragma once
#include <cstdint>
#include <concepts>
#include <cstring>
#include <type_traits>

#include "sve/decode/handler.h"
#include "sve/state/context.h"
#include "sve/state/cpu_state.h"

// Fixed-route executors are defined in the file of their handlers, ahead of
// them, and marked SVE_EXECUTOR so that each handler inlines its call (the
// element size is then a constant and the size switch folds away) while the
// executor stays an ordinary exported function. (The project compiles with
// -fno-semantic-interposition: in position-independent code GCC would
// otherwise refuse to inline a function that could be replaced at load time.)
// GCC warns that always_inline without `inline` might not be inlinable; the
// calls are direct, so the warning is silenced between SVE_EXECUTORS_BEGIN
// and SVE_EXECUTORS_END.
#define SVE_EXECUTOR [[gnu::always_inline]]
#define SVE_EXECUTORS_BEGIN _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wattributes\"")
#define SVE_EXECUTORS_END _Pragma("GCC diagnostic pop")

namespace sve {

template <class T> constexpr int kElems = SVE_VL_BYTES / int(sizeof(T));

template <class T> inline T elem(const uint8_t* v, int i) {
  T x;
  std::memcpy(&x, v + i * sizeof(T), sizeof(T));
  return x;
}
template <class T> inline void set_elem(uint8_t* v, int i, T x) { std::memcpy(v + i * sizeof(T), &x, sizeof(T)); }

// Governing-predicate views: unpacked lanes (cpu_state) or all true.
// mask<T>(i) is all ones when element i of type T is active, else 0: it reads
// the element's lanes as one T, whose bit 0 is bit 0 of the element's first
// lane, so that the element loops below stay branch-free and vectorise.
// Lanes hold 0 or 1 (cpu_state's unpacked form, and expanded maps), so a byte
// element's lane is its mask's low bit as it stands; wider elements take bit 0
// of their first lane.
struct LanePred {
  const uint8_t* lanes;
  bool active(int byte) const { return lanes[byte] & 1; }
  template <class T> std::make_unsigned_t<T> mask(int i) const {
    using U = std::make_unsigned_t<T>;
    if constexpr (sizeof(T) == 1) return lanes[i] == 0 ? U(0) : U(~U(0));
    else return (elem<U>(lanes, i) & 1u) == 0 ? U(0) : U(~U(0));
  }
};
struct AllTrue {
  bool active(int) const { return true; }
  template <class T> std::make_unsigned_t<T> mask(int) const { return std::make_unsigned_t<T>(~0ull); }
};

// yes where the mask is set, no elsewhere.
template <class T> inline T merge(std::make_unsigned_t<T> m, T yes, T no) {
  using U = std::make_unsigned_t<T>;
  return T(U((U(yes) & m) | (U(no) & U(~m))));
}

// ---- element loops (shared by both routes) ----
// d never overlaps the sources: both routes build results in a temporary.

// Operations whose 64-bit lanes no host has a vector instruction for
// (multiplies, divides) say so with kScalarAt64: their 64-bit elements then
// take a select each, cheaper than the lane masks scalar code would build.
template <class F>
concept ScalarAt64 = requires { requires F::kScalarAt64; };

// d[i] = f(a[i], b[i]) for the n elements; inactive elements keep a[i] (merging).
template <class T, class Pred, class F>
inline void map2(uint8_t* __restrict d, const uint8_t* a, const uint8_t* b, int n, Pred pg, F f) {
#pragma GCC unroll 16
  for (int i = 0; i < n; ++i) {
    T x = elem<T>(a, i);
    if constexpr (sizeof(T) == 8 && ScalarAt64<F>) set_elem<T>(d, i, pg.active(8 * i) ? f(x, elem<T>(b, i)) : x);
    else set_elem<T>(d, i, merge<T>(pg.template mask<T>(i), f(x, elem<T>(b, i)), x));
  }
}
// d[i] = f(a[i]) for active elements; inactive keep a[i].
template <class T, class Pred, class F>
inline void map_imm(uint8_t* __restrict d, const uint8_t* a, int n, Pred pg, F f) {
#pragma GCC unroll 16
  for (int i = 0; i < n; ++i) {
    T x = elem<T>(a, i);
    set_elem<T>(d, i, merge<T>(pg.template mask<T>(i), f(x), x));
  }
}
// An operation that also transforms sixteen bytes of T elements at once
// (f.chunk<T>(out, in)), where its element form has no vector instruction
// but a byte shuffle does the work (bit reversal and bit counts by nibble tables).
template <class F, class T>
concept ChunkOp = requires(const F f, uint8_t* out, const uint8_t* in) { f.template chunk<T>(out, in); };
// d[i] = f(a[i]) for active elements; inactive take m[i] (the destination).
template <class T, class Pred, class F>
inline void map1(uint8_t* __restrict d, const uint8_t* a, const uint8_t* m, int n, Pred pg, F f) {
  int i = 0;
  if constexpr (ChunkOp<F, T>) {
    constexpr int kPer = 16 / int(sizeof(T));
    for (; i + kPer <= n; i += kPer) {
      alignas(16) uint8_t r[16];
      f.template chunk<T>(r, a + i * int(sizeof(T)));
      for (int j = 0; j < kPer; ++j)
        set_elem<T>(d, i + j, merge<T>(pg.template mask<T>(i + j), elem<T>(r, j), elem<T>(m, i + j)));
    }
  }
#pragma GCC unroll 16
  for (; i < n; ++i) set_elem<T>(d, i, merge<T>(pg.template mask<T>(i), f(elem<T>(a, i)), elem<T>(m, i)));
}
// An operation that applies the element's mask itself, f.masked(m, a, b, c)
// giving a for inactive elements, more cheaply than a select after it.
template <class F, class T>
concept SelfMasking = requires(const F f, std::make_unsigned_t<T> m, T x) {
  { f.masked(m, x, x, x) } -> std::same_as<T>;
};
// d[i] = f(a[i], b[i], c[i]) for active elements; inactive keep a[i].
template <class T, class Pred, class F>
inline void map3(uint8_t* __restrict d, const uint8_t* a, const uint8_t* b, const uint8_t* c, int n, Pred pg, F f) {
#pragma GCC unroll 16
  for (int i = 0; i < n; ++i) {
    T x = elem<T>(a, i), y = elem<T>(b, i), z = elem<T>(c, i);
    if constexpr (sizeof(T) == 8 && ScalarAt64<F>) set_elem<T>(d, i, pg.active(8 * i) ? f(x, y, z) : x);
    else if constexpr (SelfMasking<F, T>) set_elem<T>(d, i, f.masked(pg.template mask<T>(i), x, y, z));
    else set_elem<T>(d, i, merge<T>(pg.template mask<T>(i), f(x, y, z), x));
  }
}
// d[i] = f(a[i], w) with w the 64-bit element of b covering the same bytes;
// inactive elements keep a[i] (shifts by wide elements).
template <class T, class Pred, class F>
inline void map_wide(uint8_t* __restrict d, const uint8_t* a, const uint8_t* b, int n, Pred pg, F f) {
#pragma GCC unroll 16
  for (int i = 0; i < n; ++i) {
    T x = elem<T>(a, i);
    set_elem<T>(d, i, merge<T>(pg.template mask<T>(i), f(x, elem<uint64_t>(b, i * int(sizeof(T)) / 8)), x));
  }
}
// Fold of the active elements of a; inactive elements contribute `identity`
// (the operation's neutral value), which keeps the loop a plain reduction.
template <class T, class Acc, class Pred, class F>
inline Acc fold(const uint8_t* a, int n, Pred pg, Acc identity, F f) {
  Acc acc = identity;
  using M = std::make_signed_t<std::make_unsigned_t<T>>;  // widens the mask with its sign
#pragma GCC unroll 16
  for (int i = 0; i < n; ++i) {
    auto m = std::make_unsigned_t<Acc>(M(pg.template mask<T>(i)));
    acc = f(acc, merge<Acc>(m, Acc(elem<T>(a, i)), identity));
  }
  return acc;
}

// ---- element types and the element-size branch of the executors ----

template <int Bytes, bool Signed> struct IntOfT;
template <> struct IntOfT<1, false> { using type = uint8_t; };
template <> struct IntOfT<2, false> { using type = uint16_t; };
template <> struct IntOfT<4, false> { using type = uint32_t; };
template <> struct IntOfT<8, false> { using type = uint64_t; };
template <> struct IntOfT<1, true> { using type = int8_t; };
template <> struct IntOfT<2, true> { using type = int16_t; };
template <> struct IntOfT<4, true> { using type = int32_t; };
template <> struct IntOfT<8, true> { using type = int64_t; };
template <int Bytes, bool Signed> using IntOf = typename IntOfT<Bytes, Signed>::type;
template <class T> using Tag = std::type_identity<T>;

// body(Tag<T>{}) with T the element type of the size code: 2, 3, 1, anything else 8-bit.
template <bool Signed, class Body> inline aarch64_decode_rc by_esize(unsigned esize, Body body) {
  switch (esize) {
    case 2: return body(Tag<IntOf<4, Signed>>{});
    case 3: return body(Tag<IntOf<8, Signed>>{});
    case 1: return body(Tag<IntOf<2, Signed>>{});
    default: return body(Tag<IntOf<1, Signed>>{});
  }
}
// Division knows two sizes: 3 is 64-bit, anything else 32-bit.
template <bool Signed, class Body> inline aarch64_decode_rc by_esize_div(unsigned esize, Body body) {
  return esize == 3 ? body(Tag<IntOf<8, Signed>>{}) : body(Tag<IntOf<4, Signed>>{});
}
template <class T> constexpr uint8_t kEsize = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3;
template <class T> constexpr aarch64_z_reg zreg(unsigned n) { return {uint8_t(n), kEsize<T>}; }
template <class T> constexpr aarch64_p_reg preg(unsigned n, bool zeroing = false) {
  return {uint8_t(n), kEsize<T>, zeroing};
}

// ---- fixed-length route ----

// Runs map(out, in, off) over the 16-byte chunks of the vector, with `in` the
// chunk at offset off of each source copied out and `out` then stored to d at
// off. Each chunk is read before it is written, so d may be one of the sources
// (Z registers coincide or are disjoint) and no whole-vector temporary is needed.
template <int N, class Map>
[[gnu::always_inline]] inline void fixed_in_place(uint8_t* d, const uint8_t* const (&src)[N], Map map) {
  static_assert(SVE_VL_BYTES % 16 == 0);
#pragma GCC unroll 16
  for (int off = 0; off < SVE_VL_BYTES; off += 16) {
    alignas(16) uint8_t in[N][16], out[16];
    for (int k = 0; k < N; ++k) std::memcpy(in[k], src[k] + off, 16);
    map(out, in, off);
    std::memcpy(d + off, out, 16);
  }
}

// Zd = op(Zn, Zm) element-wise.
template <class T, class F>
inline aarch64_decode_rc fixed_zzz(cpu_state* s, unsigned zd, unsigned zn, unsigned zm, F f) {
  fixed_in_place<2>(s->z[zd], {s->z[zn], s->z[zm]}, [&](uint8_t* out, auto& in, int) {
    map2<T>(out, in[0], in[1], 16 / int(sizeof(T)), AllTrue{}, f);
  });
  return DECODE_OK;
}
// Zdn = Pg ? op(Zdn, Zm) : Zdn.
template <class T, class F>
inline aarch64_decode_rc fixed_zpz(cpu_state* s, unsigned zdn, unsigned pg, unsigned zm, F f) {
  fixed_in_place<2>(s->z[zdn], {s->z[zdn], s->z[zm]}, [&](uint8_t* out, auto& in, int off) {
    map2<T>(out, in[0], in[1], 16 / int(sizeof(T)), LanePred{s->p[pg] + off}, f);
  });
  return DECODE_OK;
}
// As fixed_zpz over the whole vector at once into a temporary: for operations
// that convert to wider types, which the loop vectoriser handles over many
// elements and straight-line vectorisation of a chunk leaves scalar.
template <class T, class F>
inline aarch64_decode_rc fixed_zpz_whole(cpu_state* s, unsigned zdn, unsigned pg, unsigned zm, F f) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  map2<T>(tmp, s->z[zdn], s->z[zm], kElems<T>, LanePred{s->p[pg]}, f);
  std::memcpy(s->z[zdn], tmp, SVE_VL_BYTES);
  return DECODE_OK;
}

// Zd = Pg ? op(Zn) : Zd (merging) or 0 (zeroing): unary operations.
template <class T, class F>
inline aarch64_decode_rc fixed_unary(cpu_state* s, unsigned zd, unsigned pg, unsigned zn, F f, bool zeroing = false) {
  alignas(16) static constexpr uint8_t kZero[SVE_VL_BYTES] = {};
  fixed_in_place<2>(s->z[zd], {s->z[zn], zeroing ? kZero : s->z[zd]}, [&](uint8_t* out, auto& in, int off) {
    map1<T>(out, in[0], in[1], 16 / int(sizeof(T)), LanePred{s->p[pg] + off}, f);
  });
  return DECODE_OK;
}
// Zd = op(Zn) for every element (unpredicated immediate forms: Zd may equal
// Zn). The immediate forms run over the whole vector into a temporary: narrow
// elements shifted by an amount the compiler widens to int vectorise over the
// whole loop but not chunk by chunk.
template <class T, class F>
inline aarch64_decode_rc fixed_zzi(cpu_state* s, unsigned zd, unsigned zn, F f) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  map_imm<T>(tmp, s->z[zn], kElems<T>, AllTrue{}, f);
  std::memcpy(s->z[zd], tmp, SVE_VL_BYTES);
  return DECODE_OK;
}
// Zdn = Pg ? op(Zdn) : Zdn (predicated immediate forms).
template <class T, class F>
inline aarch64_decode_rc fixed_zpi(cpu_state* s, unsigned zdn, unsigned pg, F f) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  map_imm<T>(tmp, s->z[zdn], kElems<T>, LanePred{s->p[pg]}, f);
  std::memcpy(s->z[zdn], tmp, SVE_VL_BYTES);
  return DECODE_OK;
}
// Zd = Pg ? op(Zd, Zb, Zc) : Zd (multiply-accumulate).
template <class T, class F>
inline aarch64_decode_rc fixed_zpzz(cpu_state* s, unsigned zd, unsigned pg, unsigned zb, unsigned zc, F f) {
  fixed_in_place<3>(s->z[zd], {s->z[zd], s->z[zb], s->z[zc]}, [&](uint8_t* out, auto& in, int off) {
    map3<T>(out, in[0], in[1], in[2], 16 / int(sizeof(T)), LanePred{s->p[pg] + off}, f);
  });
  return DECODE_OK;
}

// ---- length-agnostic route ----

// Routine signatures of the route (exported with C linkage under handler names).
using AgnosticVV = void (*)(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c);
using AgnosticVI = void (*)(uint8_t* d, const uint8_t* a, const PredV* pg, uint64_t imm, CpuContext* c);

using AgnosticVVV = void (*)(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b,
                             const uint8_t* m, CpuContext* c);
using AgnosticVVVI = void (*)(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b,
                              const uint8_t* m, int index, CpuContext* c);

template <class T> inline int agnostic_elems(const CpuContext* c) { return vl_bytes(c) / int(sizeof(T)); }

// A length of whole 16-byte blocks, known to the compiler as such: the loop
// vectoriser's cheap cost model (-O2) then vectorises a run-time trip count
// without an epilogue.
struct Blocks16 {
  int blocks;
  constexpr int operator()() const { return blocks * 16; }
};
// Runs body(offset, bytes) over the vl bytes of a vector: the whole 16-byte
// blocks at once, then an 8-byte tail (vl is a multiple of 8); bytes() is a
// Blocks16 or the constant 8.
template <class Body> inline void agnostic_chunks(int vl, Body body) {
  if (vl >= 16) body(0, Blocks16{vl / 16});
  if (vl % 16) body(vl & ~15, std::integral_constant<int, 8>{});
}
// As agnostic_chunks in 16-byte chunks with constant trip counts, for element
// loops that straight-line vectorisation handles at least as well: loops
// that mix widths (wide elements), which the loop vectoriser's cheap model
// leaves scalar, and the compares.
template <class Body> inline void agnostic_chunks16(int vl, Body body) {
  int off = 0;
  for (; off + 16 <= vl; off += 16) body(off, std::integral_constant<int, 16>{});
  if (off < vl) body(off, std::integral_constant<int, 8>{});
}

// Handler side of the route: pack the inputs, run the routine, copy back the
// first 112 bytes of the result and the context's flags and status.
struct AgnosticCall {
  cpu_state* s;
  CpuContext ctx;
  explicit AgnosticCall(cpu_state* st) : s(st), ctx(make_context_without_ffr(st)) {}
  void finish(unsigned zd, const VecImage& out) {
    std::memcpy(s->z[zd], out.b, SVE_VL_BYTES);
    s->fpsr = ctx.fpsr;
  }
};

inline aarch64_decode_rc run_agnostic_vv(cpu_state* s, unsigned zd, unsigned zn, int pg, unsigned zm,
                                         AgnosticVV routine) {
  AgnosticCall call(s);
  VecImage a = load_image(s, zn), b = load_image(s, zm), out;
  PredV p = pg < 0 ? PredV{} : pack_pred(s->p[pg]);
  routine(out.b, a.b, &p, b.b, &call.ctx);
  call.finish(zd, out);
  return DECODE_OK;
}
inline aarch64_decode_rc run_agnostic_vi(cpu_state* s, unsigned zd, unsigned zn, int pg, uint64_t imm,
                                         AgnosticVI routine) {
  AgnosticCall call(s);
  VecImage a = load_image(s, zn), out;
  PredV p = pg < 0 ? PredV{} : pack_pred(s->p[pg]);
  routine(out.b, a.b, &p, imm, &call.ctx);
  call.finish(zd, out);
  return DECODE_OK;
}

// Runners for element-wise routines, which read and write only the first vl
// bytes of their vectors (the context's length is the state's): the sources
// are the registers themselves rather than 256-byte images, and the result
// goes straight into Zd unless Zd is also a source. run(d, p, ctx) calls the
// routine with its sources bound.
template <class Run>
[[gnu::always_inline]] inline aarch64_decode_rc run_elementwise(cpu_state* s, unsigned zd, bool zd_is_source, int pg,
                                                                 Run run) {
  AgnosticCall call(s);
  PredV p = pg < 0 ? PredV{} : pack_pred(s->p[pg]);
  if (!zd_is_source) {
    run(s->z[zd], &p, &call.ctx);
    s->fpsr = call.ctx.fpsr;
    return DECODE_OK;
  }
  VecImage out;
  run(out.b, &p, &call.ctx);
  call.finish(zd, out);
  return DECODE_OK;
}
inline aarch64_decode_rc run_elementwise_vv(cpu_state* s, unsigned zd, unsigned zn, int pg, unsigned zm,
                                            AgnosticVV routine) {
  return run_elementwise(s, zd, zd == zn || zd == zm, pg, [&](uint8_t* d, const PredV* p, CpuContext* c) {
    routine(d, s->z[zn], p, s->z[zm], c);
  });
}
inline aarch64_decode_rc run_elementwise_vi(cpu_state* s, unsigned zd, unsigned zn, int pg, uint64_t imm,
                                            AgnosticVI routine) {
  return run_elementwise(s, zd, zd == zn, pg, [&](uint8_t* d, const PredV* p, CpuContext* c) {
    routine(d, s->z[zn], p, imm, c);
  });
}

inline aarch64_decode_rc run_agnostic_vvvi(cpu_state* s, unsigned zd, unsigned zn, unsigned zm, int index,
                                           AgnosticVVVI routine) {
  AgnosticCall call(s);
  VecImage a = load_image(s, zd), b = load_image(s, zn), m = load_image(s, zm), out;
  PredV p{};
  routine(out.b, a.b, &p, b.b, m.b, index, &call.ctx);
  call.finish(zd, out);
  return DECODE_OK;
}
// The index-free three-operand routine R, run through the indexed driver.
template <AgnosticVVV R>
void without_index(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, const uint8_t* m, int,
                   CpuContext* c) {
  R(d, a, pg, b, m, c);
}


// ---- length-agnostic element drivers (the routines' bodies) ----

// body(offset, chunk, pred) over the context's length, with pred the
// governing lanes of the chunk: the expanded map of pg, or all true when pg
// is null (unpredicated forms).
// MixedWidths runs the body over 16-byte chunks (agnostic_chunks16) for
// element loops that mix widths.
template <bool MixedWidths = false, class Body>
inline void agnostic_drive(const PredV* pg, const CpuContext* c, Body body) {
  int vl = vl_bytes(c);
  auto chunks = [vl](auto each) {
    if constexpr (MixedWidths) agnostic_chunks16(vl, each);
    else agnostic_chunks(vl, each);
  };
  if (!pg) {
    chunks([&](int off, auto chunk) { body(off, chunk, AllTrue{}); });
    return;
  }
  alignas(16) uint8_t lanes[SVE_MAX_VL_BYTES];
  expand_pred(*pg, lanes, vl);
  chunks([&](int off, auto chunk) { body(off, chunk, LanePred{lanes + off}); });
}

// d = Pg ? f(a, b) : a (f everywhere when pg is null).
template <class T, class F>
inline void agnostic_map2(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, const CpuContext* c, F f) {
  agnostic_drive(pg, c, [&](int off, auto chunk, auto pred) {
    map2<T>(d + off, a + off, b + off, chunk() / int(sizeof(T)), pred, f);
  });
}
// d = Pg ? f(b) : a (unary, merging into the destination image a).
template <class T, class F>
inline void agnostic_map1(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, const CpuContext* c, F f) {
  agnostic_drive(pg, c, [&](int off, auto chunk, auto pred) {
    map1<T>(d + off, b + off, a + off, chunk() / int(sizeof(T)), pred, f);
  });
}
// d = Pg ? f(a) : a (immediate forms).
template <class T, class F>
inline void agnostic_map_imm(uint8_t* d, const uint8_t* a, const PredV* pg, const CpuContext* c, F f) {
  agnostic_drive(pg, c, [&](int off, auto chunk, auto pred) {
    map_imm<T>(d + off, a + off, chunk() / int(sizeof(T)), pred, f);
  });
}
// d = Pg ? f(a, wide element of b) : a.
template <class T, class F>
inline void agnostic_map_wide(uint8_t* d, const uint8_t* a, const PredV* pg, const uint8_t* b, const CpuContext* c,
                              F f) {
  agnostic_drive<true>(pg, c, [&](int off, auto chunk, auto pred) {
    map_wide<T>(d + off, a + off, b + off, chunk() / int(sizeof(T)), pred, f);
  });
}

// ---- handler side of the predicate-producing and reducing routines ----

// A compare routine: result map d, Zn image a, governing map pg, second
// operand (image or immediate); it sets the context's flags.
using AgnosticPV = void (*)(PredV* d, const uint8_t* a, const PredV* pg, const uint8_t* b, CpuContext* c);
using AgnosticPI = void (*)(PredV* d, const uint8_t* a, const PredV* pg, uint64_t imm, CpuContext* c);

inline aarch64_decode_rc finish_predicate(cpu_state* s, unsigned pd, const PredV& r, const CpuContext& c) {
  unpack_pred(r, s->p[pd]);
  store_context_flags(s, c);
  return DECODE_OK;
}
inline aarch64_decode_rc run_agnostic_pv(cpu_state* s, unsigned pd, unsigned zn, unsigned pg, unsigned zm,
                                         AgnosticPV routine) {
  CpuContext c = make_context_without_ffr(s);
  VecImage a = load_image(s, zn), b = load_image(s, zm);
  PredV p = pack_pred(s->p[pg]), r{};
  routine(&r, a.b, &p, b.b, &c);
  return finish_predicate(s, pd, r, c);
}
inline aarch64_decode_rc run_agnostic_pi(cpu_state* s, unsigned pd, unsigned zn, unsigned pg, uint64_t imm,
                                         AgnosticPI routine) {
  CpuContext c = make_context_without_ffr(s);
  VecImage a = load_image(s, zn);
  PredV p = pack_pred(s->p[pg]), r{};
  routine(&r, a.b, &p, imm, &c);
  return finish_predicate(s, pd, r, c);
}

}  // namespace sve

// Element types named as in handler names.
namespace sve::ty {
using U8 = uint8_t;
using U16 = uint16_t;
using U32 = uint32_t;
using U64 = uint64_t;
using S8 = int8_t;
using S16 = int16_t;
using S32 = int32_t;
using S64 = int64_t;
}  // namespace sve::ty

// Publishes handler template OP<T> as "Vec" T OP for each listed type.
#define SVE_HANDLER(OP, T) HandlerDef{"Vec" #T #OP, &OP<sve::ty::T>}

// Handler definitions for a list of types: SVE_DEFS_U(AddVVM, vvm, &sve_add_zpz)
// publishes {"VecU8AddVVM", &vvm<U8, &sve_add_zpz>} ... for U8 to U64.
#define SVE_DEF(T, OP, H, ...) HandlerDef{"Vec" #T #OP, &H<sve::ty::T __VA_OPT__(, ) __VA_ARGS__>}
#define SVE_DEFS_U(OP, H, ...)                                                                    \
  SVE_DEF(U8, OP, H, __VA_ARGS__), SVE_DEF(U16, OP, H, __VA_ARGS__), SVE_DEF(U32, OP, H, __VA_ARGS__), \
      SVE_DEF(U64, OP, H, __VA_ARGS__)
#define SVE_DEFS_S(OP, H, ...)                                                                    \
  SVE_DEF(S8, OP, H, __VA_ARGS__), SVE_DEF(S16, OP, H, __VA_ARGS__), SVE_DEF(S32, OP, H, __VA_ARGS__), \
      SVE_DEF(S64, OP, H, __VA_ARGS__)

// Handler shapes shared by the integer families. Each stores the word, takes
// its fields and calls the executor (fixed route) or the routine R (agnostic).
namespace sve {

// Zdn = bits 4-0, Zm (or unary Zn) = bits 9-5, Pg = bits 12-10, merging.
template <class T, auto Exec> aarch64_decode_rc h_zpz(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), preg<T>(field(w, 12, 10)), zreg<T>(field(w, 9, 5)));
}
// As h_zpz with a zeroing governing predicate.
template <class T, auto Exec> aarch64_decode_rc h_zpz_zeroing(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), preg<T>(field(w, 12, 10), true), zreg<T>(field(w, 9, 5)));
}
// Zd = bits 4-0, Zn = bits 9-5, Zm = bits 20-16.
template <class T, auto Exec> aarch64_decode_rc h_zzz(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), zreg<T>(field(w, 9, 5)), zreg<T>(field(w, 20, 16)));
}
// Zd = bits 4-0, Pg = bits 12-10, then the registers of bits 9-5 and 20-16.
template <class T, auto Exec> aarch64_decode_rc h_zpzz(cpu_state* s, unsigned w) {
  s->insn = w;
  return Exec(s, zreg<T>(field(w, 4, 0)), preg<T>(field(w, 12, 10)), zreg<T>(field(w, 9, 5)),
              zreg<T>(field(w, 20, 16)));
}

// Shift-by-immediate field: width 3, 4, 5 bits for 8-, 16-, 32-bit elements
// from bit `lo` upward; for 64-bit bits lo..lo+4 with bit 22 above them.
template <class T> constexpr unsigned shift_field(uint32_t w, int lo) {
  if constexpr (sizeof(T) == 8) return field(w, lo + 4, lo) | (field(w, 22, 22) << 5);
  else return field(w, lo + (sizeof(T) == 1 ? 2 : sizeof(T) == 2 ? 3 : 4), lo);
}
// Right shifts count down from the element width: amounts 1..width.
template <class T> constexpr unsigned right_amount(unsigned f) { return unsigned(sizeof(T) * 8) - f; }

// ---- length-agnostic handler shapes ----

// Element-wise routines only. Zd = bits 4-0 (destination and merge source),
// Pg = bits 12-10, second operand Zm (binary) or Zn (unary) = bits 9-5.
template <AgnosticVV R> aarch64_decode_rc h_agn_zpz(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_elementwise_vv(s, field(w, 4, 0), field(w, 4, 0), int(field(w, 12, 10)), field(w, 9, 5), R);
}
// Zd = bits 4-0, Zn = bits 9-5, Zm = bits 20-16, unpredicated.
template <AgnosticVV R> aarch64_decode_rc h_agn_zzz(cpu_state* s, unsigned w) {
  s->insn = w;
  return run_elementwise_vv(s, field(w, 4, 0), field(w, 9, 5), -1, field(w, 20, 16), R);
}

}  // namespace sve

// C-linkage routine under the handler's name: SVE_EXPORT_VV(U8, SubRVVM, subr_routine, Args...)
// defines VecU8SubRVVM calling sve::subr_routine<uint8_t, Args...>.
#define SVE_EXPORT_VV(T, OP, R, ...)                                                             \
  extern "C" void Vec##T##OP(uint8_t* d, const uint8_t* a, const PredV* p, const uint8_t* b,    \
                             CpuContext* c) {                                                   \
    sve::R<sve::ty::T __VA_OPT__(, ) __VA_ARGS__>(d, a, p, b, c);                                 \
  }
#define SVE_EXPORT_VI(T, OP, R, ...)                                                                   \
  extern "C" void Vec##T##OP(uint8_t* d, const uint8_t* a, const PredV* p, uint64_t imm, CpuContext* c) { \
    sve::R<sve::ty::T __VA_OPT__(, ) __VA_ARGS__>(d, a, p, imm, c);                                     \
  }
#define SVE_EXPORT_PV(T, OP, R, ...)                                                                 \
  extern "C" void Vec##T##OP(PredV* d, const uint8_t* a, const PredV* p, const uint8_t* b, CpuContext* c) { \
    sve::R<sve::ty::T __VA_OPT__(, ) __VA_ARGS__>(d, a, p, b, c);                                     \
  }
#define SVE_EXPORT_PI(T, OP, R, ...)                                                                 \
  extern "C" void Vec##T##OP(PredV* d, const uint8_t* a, const PredV* p, uint64_t imm, CpuContext* c) { \
    sve::R<sve::ty::T __VA_OPT__(, ) __VA_ARGS__>(d, a, p, imm, c);                                   \
  }
// The handler of an exported routine: {"VecU8SubRVVM", &H<&VecU8SubRVVM>} (H may take T first
// when the shape needs the element type: SVE_AGN_DEF_T).
#define SVE_AGN_DEF(T, OP, H) HandlerDef{"Vec" #T #OP, &H<&Vec##T##OP>}
#define SVE_AGN_DEF_T(T, OP, H) HandlerDef{"Vec" #T #OP, &H<sve::ty::T, &Vec##T##OP>}
// Four types at once, for exports and definitions.
#define SVE_FOR_U(M, ...) M(U8, __VA_ARGS__) M(U16, __VA_ARGS__) M(U32, __VA_ARGS__) M(U64, __VA_ARGS__)
#define SVE_FOR_S(M, ...) M(S8, __VA_ARGS__) M(S16, __VA_ARGS__) M(S32, __VA_ARGS__) M(S64, __VA_ARGS__)
#define SVE_LIST_U(M, ...) M(U8, __VA_ARGS__), M(U16, __VA_ARGS__), M(U32, __VA_ARGS__), M(U64, __VA_ARGS__)
#define SVE_LIST_S(M, ...) M(S8, __VA_ARGS__), M(S16, __VA_ARGS__), M(S32, __VA_ARGS__), M(S64, __VA_ARGS__)
// The three narrower types (forms that exist only for 8-, 16- and 32-bit elements).
#define SVE_FOR_U3(M, ...) M(U8, __VA_ARGS__) M(U16, __VA_ARGS__) M(U32, __VA_ARGS__)
#define SVE_FOR_S3(M, ...) M(S8, __VA_ARGS__) M(S16, __VA_ARGS__) M(S32, __VA_ARGS__)
#define SVE_LIST_U3(M, ...) M(U8, __VA_ARGS__), M(U16, __VA_ARGS__), M(U32, __VA_ARGS__)
#define SVE_LIST_S3(M, ...) M(S8, __VA_ARGS__), M(S16, __VA_ARGS__), M(S32, __VA_ARGS__)
