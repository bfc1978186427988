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
#include <cstring>

#include "sve/decode/handler.h"
#include "sve/state/context.h"
#include "sve/state/cpu_state.h"

namespace sve {

template <class T> constexpr int kElems = SVE_VL_BYTES / int(sizeof(T));

template <class T> inline T elem(const uint8_t* v, int i) {
  T x;
  std::memcpy(&x, v + i * sizeof(T), sizeof(T));
  return x;
}
template <class T> inline void set_elem(uint8_t* v, int i, T x) { std::memcpy(v + i * sizeof(T), &x, sizeof(T)); }

// Governing-predicate views: unpacked lanes (cpu_state) or a packed PredV.
struct LanePred {
  const uint8_t* lanes;
  bool active(int byte) const { return lanes[byte] & 1; }
};
struct PackedPred {
  const PredV* p;
  bool active(int byte) const { return p->bit(byte); }
};
struct AllTrue {
  bool active(int) const { return true; }
};

// ---- element loops (shared by both routes) ----

// d[i] = f(a[i], b[i]) for the n elements; inactive elements keep a[i] (merging).
template <class T, class Pred, class F>
inline void map2(uint8_t* d, const uint8_t* a, const uint8_t* b, int n, Pred pg, F f) {
  for (int i = 0; i < n; ++i) {
    T x = elem<T>(a, i);
    set_elem<T>(d, i, pg.active(i * sizeof(T)) ? f(x, elem<T>(b, i)) : x);
  }
}
// d[i] = f(a[i], imm) for active elements; inactive keep a[i].
template <class T, class Pred, class F>
inline void map_imm(uint8_t* d, const uint8_t* a, int n, Pred pg, F f) {
  for (int i = 0; i < n; ++i) {
    T x = elem<T>(a, i);
    set_elem<T>(d, i, pg.active(i * sizeof(T)) ? f(x) : x);
  }
}

// ---- fixed-length route ----

// Zd = op(Zn, Zm) element-wise over 112 bytes, through a temporary.
template <class T, class F>
inline aarch64_decode_rc fixed_zzz(cpu_state* s, unsigned zd, unsigned zn, unsigned zm, F f) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  map2<T>(tmp, s->z[zn], s->z[zm], kElems<T>, AllTrue{}, f);
  std::memcpy(s->z[zd], tmp, SVE_VL_BYTES);
  return DECODE_OK;
}
// Zdn = Pg ? op(Zdn, Zm) : Zdn.
template <class T, class F>
inline aarch64_decode_rc fixed_zpz(cpu_state* s, unsigned zdn, unsigned pg, unsigned zm, F f) {
  alignas(16) uint8_t tmp[SVE_VL_BYTES];
  map2<T>(tmp, s->z[zdn], s->z[zm], kElems<T>, LanePred{s->p[pg]}, f);
  std::memcpy(s->z[zdn], tmp, SVE_VL_BYTES);
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

// Handler side of the route: pack the inputs, run the routine, copy back the
// first 112 bytes of the result and the context's flags and status.
struct AgnosticCall {
  cpu_state* s;
  CpuContext ctx;
  explicit AgnosticCall(cpu_state* st) : s(st), ctx(make_context(st)) {}
  void finish(unsigned zd, const VecImage& out) {
    std::memcpy(s->z[zd], out.b, SVE_VL_BYTES);
    s->fpsr = ctx.fpsr;
  }
};

inline aarch64_decode_rc run_agnostic_vv(cpu_state* s, unsigned zd, unsigned zn, int pg, unsigned zm,
                                         AgnosticVV routine) {
  AgnosticCall call(s);
  VecImage a = load_image(s, zn), b = load_image(s, zm), out{};
  PredV p = pg < 0 ? PredV{} : pack_pred(s->p[pg]);
  routine(out.b, a.b, &p, b.b, &call.ctx);
  call.finish(zd, out);
  return DECODE_OK;
}
inline aarch64_decode_rc run_agnostic_vi(cpu_state* s, unsigned zd, unsigned zn, int pg, uint64_t imm,
                                         AgnosticVI routine) {
  AgnosticCall call(s);
  VecImage a = load_image(s, zn), out{};
  PredV p = pg < 0 ? PredV{} : pack_pred(s->p[pg]);
  routine(out.b, a.b, &p, imm, &call.ctx);
  call.finish(zd, out);
  return DECODE_OK;
}

inline aarch64_decode_rc run_agnostic_vvv(cpu_state* s, unsigned zd, unsigned zn, unsigned zm,
                                          AgnosticVVV routine) {
  AgnosticCall call(s);
  VecImage a = load_image(s, zd), b = load_image(s, zn), m = load_image(s, zm), out{};
  PredV p{};
  routine(out.b, a.b, &p, b.b, m.b, &call.ctx);
  call.finish(zd, out);
  return DECODE_OK;
}
inline aarch64_decode_rc run_agnostic_vvvi(cpu_state* s, unsigned zd, unsigned zn, unsigned zm, int index,
                                           AgnosticVVVI routine) {
  AgnosticCall call(s);
  VecImage a = load_image(s, zd), b = load_image(s, zn), m = load_image(s, zm), out{};
  PredV p{};
  routine(out.b, a.b, &p, b.b, m.b, index, &call.ctx);
  call.finish(zd, out);
  return DECODE_OK;
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
