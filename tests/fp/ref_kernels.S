// Loops that run one floating-point instruction per case on the reference
// CPU. A kernel is called as kernel(const RefCase* in, RefOut* out, size_t n):
// per case it sets FPCR, clears FPSR, loads d0-d2 and x3-x5 from the three
// operands, executes its instruction, and stores d0, x3, FPSR and NZCV.
        .arch armv8.2-a+fp16+sve
        .text

.macro KERNEL name, insn:vararg
        .p2align 4
        .globl \name
        .type \name, %function
\name:
        cbz     x2, 2f
        mrs     x10, fpcr
1:      ldr     w9, [x0, #24]
        msr     fpcr, x9
        msr     fpsr, xzr
        ldr     d0, [x0]
        ldr     d1, [x0, #8]
        ldr     d2, [x0, #16]
        ldp     x3, x4, [x0]
        ldr     x5, [x0, #16]
        \insn
        str     d0, [x1]
        str     x3, [x1, #8]
        mrs     x9, fpsr
        str     w9, [x1, #16]
        mrs     x9, nzcv
        str     w9, [x1, #20]
        add     x0, x0, #32
        add     x1, x1, #24
        subs    x2, x2, #1
        b.ne    1b
        msr     fpcr, x10
2:      ret
        .size \name, . - \name
.endm

// Scalar two-operand arithmetic, min/max, steps and compares in h, s, d.
.irp op, fadd, fsub, fmul, fdiv, fmulx, fmax, fmin, fmaxnm, fminnm, frecps, frsqrts, fcmeq, fcmge, fcmgt, facge, facgt
KERNEL k_\op\()_h, \op h0, h0, h1
KERNEL k_\op\()_s, \op s0, s0, s1
KERNEL k_\op\()_d, \op d0, d0, d1
.endr
.irp op, fcmp, fcmpe
KERNEL k_\op\()_h, \op h0, h1
KERNEL k_\op\()_s, \op s0, s1
KERNEL k_\op\()_d, \op d0, d1
.endr
KERNEL k_fmadd_h, fmadd h0, h1, h2, h0
KERNEL k_fmadd_s, fmadd s0, s1, s2, s0
KERNEL k_fmadd_d, fmadd d0, d1, d2, d0

// One-operand.
.irp op, fsqrt, frintn, frintp, frintm, frintz, frinta, frintx, frinti, frecpe, frsqrte, frecpx, fneg, fabs
KERNEL k_\op\()_h, \op h0, h0
KERNEL k_\op\()_s, \op s0, s0
KERNEL k_\op\()_d, \op d0, d0
.endr

// SVE-only operations on the low element.
KERNEL k_fexpa_h, fexpa z0.h, z0.h
KERNEL k_fexpa_s, fexpa z0.s, z0.s
KERNEL k_fexpa_d, fexpa z0.d, z0.d
.irp op, ftsmul, ftssel
KERNEL k_\op\()_h, \op z0.h, z0.h, z1.h
KERNEL k_\op\()_s, \op z0.s, z0.s, z1.s
KERNEL k_\op\()_d, \op z0.d, z0.d, z1.d
.endr
.irp i, 0, 1, 2, 3, 4, 5, 6, 7
KERNEL k_ftmad\i\()_h, ftmad z0.h, z0.h, z1.h, #\i
KERNEL k_ftmad\i\()_s, ftmad z0.s, z0.s, z1.s, #\i
KERNEL k_ftmad\i\()_d, ftmad z0.d, z0.d, z1.d, #\i
.endr

// Floating-point format conversions.
KERNEL k_fcvt_h2s, fcvt s0, h0
KERNEL k_fcvt_h2d, fcvt d0, h0
KERNEL k_fcvt_s2d, fcvt d0, s0
KERNEL k_fcvt_s2h, fcvt h0, s0
KERNEL k_fcvt_d2h, fcvt h0, d0
KERNEL k_fcvt_d2s, fcvt s0, d0
KERNEL k_fcvtxn_d2s, fcvtxn s0, d0

// Floating-point to integer in every rounding mode, and fixed point.
.macro TO_INT r, u
KERNEL k_fcvt\r\u\()_h2h, fcvt\r\u h0, h0
KERNEL k_fcvt\r\u\()_h2w, fcvt\r\u w3, h0
KERNEL k_fcvt\r\u\()_h2x, fcvt\r\u x3, h0
KERNEL k_fcvt\r\u\()_s2w, fcvt\r\u w3, s0
KERNEL k_fcvt\r\u\()_s2x, fcvt\r\u x3, s0
KERNEL k_fcvt\r\u\()_d2w, fcvt\r\u w3, d0
KERNEL k_fcvt\r\u\()_d2x, fcvt\r\u x3, d0
.endm
.irp r, n, p, m, z, a
TO_INT \r, s
TO_INT \r, u
.endr
.macro FIXED u, f
KERNEL k_fcvtz\u\()_h2w_f\f, fcvtz\u w3, h0, #\f
KERNEL k_fcvtz\u\()_s2w_f\f, fcvtz\u w3, s0, #\f
KERNEL k_fcvtz\u\()_d2x_f\f, fcvtz\u x3, d0, #\f
KERNEL k_\u\()cvtf_w2h_f\f, \u\()cvtf h0, w3, #\f
KERNEL k_\u\()cvtf_w2s_f\f, \u\()cvtf s0, w3, #\f
KERNEL k_\u\()cvtf_x2d_f\f, \u\()cvtf d0, x3, #\f
.endm
.irp f, 1, 13, 32
FIXED s, \f
FIXED u, \f
.endr

// Integer to floating point.
.irp u, s, u
KERNEL k_\u\()cvtf_h2h, \u\()cvtf h0, h0
KERNEL k_\u\()cvtf_w2h, \u\()cvtf h0, w3
KERNEL k_\u\()cvtf_x2h, \u\()cvtf h0, x3
KERNEL k_\u\()cvtf_w2s, \u\()cvtf s0, w3
KERNEL k_\u\()cvtf_x2s, \u\()cvtf s0, x3
KERNEL k_\u\()cvtf_w2d, \u\()cvtf d0, w3
KERNEL k_\u\()cvtf_x2d, \u\()cvtf d0, x3
.endr
