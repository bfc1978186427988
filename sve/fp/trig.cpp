// FPEXPA, FPTRIMADD, FPTRISMUL and the ftssel selection.
#include "sve/fp/arith.h"
#include "sve/fp/estimate.h"

namespace sve {

namespace {

// Fractions of 2^(i/32) (half) and 2^(i/64) (single, double), rounded to the field.
constexpr unsigned short kExpA16[32] = {
    0x000, 0x016, 0x02D, 0x045, 0x05D, 0x075, 0x08E, 0x0A8,
    0x0C2, 0x0DC, 0x0F8, 0x114, 0x130, 0x14D, 0x16B, 0x189,
    0x1A8, 0x1C8, 0x1E8, 0x209, 0x22B, 0x24E, 0x271, 0x295,
    0x2BA, 0x2E0, 0x306, 0x32E, 0x356, 0x37F, 0x3A9, 0x3D4,
};
constexpr unsigned int kExpA32[64] = {
    0x000000, 0x0164D2, 0x02CD87, 0x043A29, 0x05AAC3, 0x071F62, 0x08980F, 0x0A14D5,
    0x0B95C2, 0x0D1ADF, 0x0EA43A, 0x1031DC, 0x11C3D3, 0x135A2B, 0x14F4F0, 0x16942D,
    0x1837F0, 0x19E046, 0x1B8D3A, 0x1D3EDA, 0x1EF532, 0x20B051, 0x227043, 0x243516,
    0x25FED7, 0x27CD94, 0x29A15B, 0x2B7A3A, 0x2D583F, 0x2F3B79, 0x3123F6, 0x3311C4,
    0x3504F3, 0x36FD92, 0x38FBAF, 0x3AFF5B, 0x3D08A4, 0x3F179A, 0x412C4D, 0x4346CD,
    0x45672A, 0x478D75, 0x49B9BE, 0x4BEC15, 0x4E248C, 0x506334, 0x52A81E, 0x54F35B,
    0x5744FD, 0x599D16, 0x5BFBB8, 0x5E60F5, 0x60CCDF, 0x633F89, 0x65B907, 0x68396A,
    0x6AC0C7, 0x6D4F30, 0x6FE4BA, 0x728177, 0x75257D, 0x77D0DF, 0x7A83B3, 0x7D3E0C,
};
constexpr unsigned long kExpA64[64] = {
    0x0000000000000, 0x02C9A3E778061, 0x059B0D3158574, 0x0874518759BC8,
    0x0B5586CF9890F, 0x0E3EC32D3D1A2, 0x11301D0125B51, 0x1429AAEA92DE0,
    0x172B83C7D517B, 0x1A35BEB6FCB75, 0x1D4873168B9AA, 0x2063B88628CD6,
    0x2387A6E756238, 0x26B4565E27CDD, 0x29E9DF51FDEE1, 0x2D285A6E4030B,
    0x306FE0A31B715, 0x33C08B26416FF, 0x371A7373AA9CB, 0x3A7DB34E59FF7,
    0x3DEA64C123422, 0x4160A21F72E2A, 0x44E086061892D, 0x486A2B5C13CD0,
    0x4BFDAD5362A27, 0x4F9B2769D2CA7, 0x5342B569D4F82, 0x56F4736B527DA,
    0x5AB07DD485429, 0x5E76F15AD2148, 0x6247EB03A5585, 0x6623882552225,
    0x6A09E667F3BCD, 0x6DFB23C651A2F, 0x71F75E8EC5F74, 0x75FEB564267C9,
    0x7A11473EB0187, 0x7E2F336CF4E62, 0x82589994CCE13, 0x868D99B4492ED,
    0x8ACE5422AA0DB, 0x8F1AE99157736, 0x93737B0CDC5E5, 0x97D829FDE4E50,
    0x9C49182A3F090, 0xA0C667B5DE565, 0xA5503B23E255D, 0xA9E6B5579FDBF,
    0xAE89F995AD3AD, 0xB33A2B84F15FB, 0xB7F76F2FB5E47, 0xBCC1E904BC1D2,
    0xC199BDD85529C, 0xC67F12E57D14B, 0xCB720DCEF9069, 0xD072D4A07897C,
    0xD5818DCFBA487, 0xDA9E603DB3285, 0xDFC97337B9B5F, 0xE502EE78B3FF6,
    0xEA4AFA2A490DA, 0xEFA1BEE615A27, 0xF50765B6E4540, 0xFA7C1819E90D8,
};

// Sine series in entries 0-7, cosine series in 8-15.
constexpr unsigned short kTrig16[16] = {
    0x3C00, 0xB155, 0x2030, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000,
    0x3C00, 0xB800, 0x293A, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000,
};
constexpr unsigned int kTrig32[16] = {
    0x3F800000, 0xBE2AAAAB, 0x3C088886, 0xB95008B9, 0x36369D6D, 0x00000000, 0x00000000, 0x00000000,
    0x3F800000, 0xBF000000, 0x3D2AAAA6, 0xBAB60705, 0x37CD37CC, 0x00000000, 0x00000000, 0x00000000,
};
constexpr unsigned long kTrig64[16] = {
    0x3FF0000000000000, 0xBFC5555555555543, 0x3F8111111110F30C, 0xBF2A01A019B92FC6,
    0x3EC71DE351F3D22B, 0xBE5AE5E2B60F7B91, 0x3DE5D8408868552F, 0x0000000000000000,
    0x3FF0000000000000, 0xBFE0000000000000, 0x3FA5555555555536, 0xBF56C16C16C13A0B,
    0x3EFA01A019B1E8D8, 0xBE927E4F7282F468, 0x3E21EE96D2641B13, 0xBDA8F76380FBB401,
};

template <class T> constexpr const T* trig_table() {
  if constexpr (fp_N<T> == 16) return kTrig16;
  else if constexpr (fp_N<T> == 32) return kTrig32;
  else return kTrig64;
}

}  // namespace

// Bits above the table index become the exponent; the index picks the fraction.
template <class T> T FPEXPA(T op) {
  if constexpr (fp_N<T> == 16) {
    return T(((op >> 5) & 0x1F) << 10 | kExpA16[op & 31]);
  } else if constexpr (fp_N<T> == 32) {
    return T(((op >> 6) & 0xFF) << 23 | kExpA32[op & 63]);
  } else {
    return T(((op >> 6) & 0x7FF) << 52 | kExpA64[op & 63]);
  }
}

template <class T> T FPTRIMADD(int index, T op1, T op2, FPSCR& fpscr) {
  if (fp_sign(op2)) index += 8;
  return FPMulAdd(trig_table<T>()[index & 15], op1, FPAbs(op2), fpscr);
}

template <class T> T FPTRISMUL(T op1, T op2, FPSCR& fpscr) {
  T r = FPMul(op1, op1, fpscr);
  if (fp_is_nan(r)) return r;
  return T(FPAbs(r) | T((op2 & 1) << (fp_N<T> - 1)));
}

template <class T> T FPTRISSEL(T op1, T op2) {
  T r = (op2 & 1) ? fp_one<T>(0) : op1;
  return (op2 & 2) ? FPNeg(r) : r;
}

#define SVE_FP_INSTANTIATE(T)                           \
  template T FPEXPA<T>(T);                              \
  template T FPTRIMADD<T>(int, T, T, FPSCR&);           \
  template T FPTRISMUL<T>(T, T, FPSCR&);                \
  template T FPTRISSEL<T>(T, T);
SVE_FP_INSTANTIATE(unsigned short)
SVE_FP_INSTANTIATE(unsigned int)
SVE_FP_INSTANTIATE(unsigned long)
#undef SVE_FP_INSTANTIATE

}  // namespace sve
