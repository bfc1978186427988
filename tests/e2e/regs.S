// Register-level cases of the front ends: what the code around an emulated
// instruction must see afterwards. Each function follows the C calling
// convention and keeps every callee-saved register it touches.
        .arch   armv8.2-a+sve
        .text

// ADDVL on SP: returns how far SP moved (224 bytes for ADDVL SP, SP, #-2).
        .globl  t_addvl_sp
t_addvl_sp:
        mov     x9, sp
        addvl   sp, sp, #-2
        mov     x10, sp
        addvl   sp, sp, #2
        sub     x0, x9, x10
        ret

// INCD on X28 (the framework's stolen register): returns v + 14 as seen
// by the next instruction.
        .globl  t_incd_x28
t_incd_x28:
        str     x28, [sp, #-16]!
        mov     x28, x0
        incd    x28
        mov     x0, x28
        ldr     x28, [sp], #16
        ret

// X26 and X27 (the rewrite's scratch registers) around an SVE instruction
// that does not name them: out[0..1] = the values after it, out[2] = the
// sum that the instruction computed.
        .globl  t_scratch_regs
t_scratch_regs:
        stp     x26, x27, [sp, #-16]!
        mov     x26, x0
        mov     x27, x1
        mov     z1.d, x0
        mov     z2.d, x1
        add     z1.d, z1.d, z2.d
        str     x26, [x2]
        str     x27, [x2, #8]
        umov    x9, v1.d[0]
        str     x9, [x2, #16]
        ldp     x26, x27, [sp], #16
        ret

// MSR FPCR with X21 and with XZR around SVE instructions: the source and
// the neighbouring X22 keep their values and FPCR holds what was written.
// out[0] = X21, out[1] = X22, out[2] = FPCR after MSR FPCR, X21,
// out[3] = FPCR after MSR FPCR, XZR. FPCR is restored on return.
        .globl  t_msr_fpcr
t_msr_fpcr:
        stp     x21, x22, [sp, #-16]!
        mrs     x11, fpcr
        mov     x21, x0
        mov     x22, x1
        msr     fpcr, x21
        index   z3.s, #1, #1
        str     x21, [x2]
        str     x22, [x2, #8]
        mrs     x9, fpcr
        str     x9, [x2, #16]
        msr     fpcr, xzr
        index   z3.s, #2, #1
        mrs     x9, fpcr
        str     x9, [x2, #24]
        msr     fpcr, x11
        ldp     x21, x22, [sp], #16
        ret

// Condition flags written by an SVE instruction and read by a branch:
// returns the NZCV value after WHILELO x0, x1 on byte elements.
        .globl  t_while_flags
t_while_flags:
        whilelo p1.b, x0, x1
        mrs     x0, nzcv
        ret

// Vector state kept between SVE instructions of a block: the 112 bytes of
// INDEX Z4.B, #k, #1 with a predicated ADD of 3 on the even bytes, stored.
        .globl  t_vector_state
t_vector_state:
        index   z4.b, w1, #1
        ptrue   p2.h
        mov     z5.b, #3
        add     z4.b, p2/m, z4.b, z5.b
        st1b    {z4.b}, p2, [x0]
        ret

// A NEON write between two SVE instructions: Z6 is set to all 1s, then
// MOVI writes V6 (bytes 0-15), then Z6 is stored. The emulated Z keeps
// bytes 16-111.
        .globl  t_neon_between
t_neon_between:
        mov     z6.b, #1
        movi    v6.16b, #2
        ptrue   p3.b
        st1b    {z6.b}, p3, [x0]
        ret

// Scalar code only: nothing to emulate in this block.
        .globl  t_no_sve
t_no_sve:
        add     x0, x0, x1
        eor     x0, x0, #0xff
        ret

// A block of 40 SVE instructions in a row: more than one rewritten block can
// hold, so the client splits it. Returns the element of Z8 after 40 adds.
        .globl  t_long_block
t_long_block:
        mov     z8.d, #0
        .rept   40
        add     z8.d, z8.d, #1
        .endr
        umov    x0, v8.d[1]
        ret
