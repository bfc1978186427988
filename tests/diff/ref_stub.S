// Runs one instruction word on the reference CPU: loads every register from
// g_ref, executes the word patched into sve_ref_slot, stores every register
// back. The host's stack pointer, TPIDR_EL0 and FPCR are kept in g_ref.
        .arch armv8.2-a+sve
        .text
        .p2align 12
        .globl sve_ref_run
        .type sve_ref_run, %function
sve_ref_run:
        stp     x29, x30, [sp, #-160]!
        stp     x19, x20, [sp, #16]
        stp     x21, x22, [sp, #32]
        stp     x23, x24, [sp, #48]
        stp     x25, x26, [sp, #64]
        stp     x27, x28, [sp, #80]
        stp     d8, d9, [sp, #96]
        stp     d10, d11, [sp, #112]
        stp     d12, d13, [sp, #128]
        stp     d14, d15, [sp, #144]
        adrp    x9, g_ref
        add     x9, x9, :lo12:g_ref
        mov     x10, sp
        str     x10, [x9, #280]
        mrs     x10, tpidr_el0
        str     x10, [x9, #288]
        mrs     x10, fpcr
        str     x10, [x9, #296]
        add     x10, x9, #304
        ldr     z0, [x10, #0, mul vl]
        ldr     z1, [x10, #1, mul vl]
        ldr     z2, [x10, #2, mul vl]
        ldr     z3, [x10, #3, mul vl]
        ldr     z4, [x10, #4, mul vl]
        ldr     z5, [x10, #5, mul vl]
        ldr     z6, [x10, #6, mul vl]
        ldr     z7, [x10, #7, mul vl]
        ldr     z8, [x10, #8, mul vl]
        ldr     z9, [x10, #9, mul vl]
        ldr     z10, [x10, #10, mul vl]
        ldr     z11, [x10, #11, mul vl]
        ldr     z12, [x10, #12, mul vl]
        ldr     z13, [x10, #13, mul vl]
        ldr     z14, [x10, #14, mul vl]
        ldr     z15, [x10, #15, mul vl]
        ldr     z16, [x10, #16, mul vl]
        ldr     z17, [x10, #17, mul vl]
        ldr     z18, [x10, #18, mul vl]
        ldr     z19, [x10, #19, mul vl]
        ldr     z20, [x10, #20, mul vl]
        ldr     z21, [x10, #21, mul vl]
        ldr     z22, [x10, #22, mul vl]
        ldr     z23, [x10, #23, mul vl]
        ldr     z24, [x10, #24, mul vl]
        ldr     z25, [x10, #25, mul vl]
        ldr     z26, [x10, #26, mul vl]
        ldr     z27, [x10, #27, mul vl]
        ldr     z28, [x10, #28, mul vl]
        ldr     z29, [x10, #29, mul vl]
        ldr     z30, [x10, #30, mul vl]
        ldr     z31, [x10, #31, mul vl]
        add     x10, x9, #3888
        ldr     p0, [x10, #16, mul vl]
        wrffr   p0.b
        ldr     p0, [x10, #0, mul vl]
        ldr     p1, [x10, #1, mul vl]
        ldr     p2, [x10, #2, mul vl]
        ldr     p3, [x10, #3, mul vl]
        ldr     p4, [x10, #4, mul vl]
        ldr     p5, [x10, #5, mul vl]
        ldr     p6, [x10, #6, mul vl]
        ldr     p7, [x10, #7, mul vl]
        ldr     p8, [x10, #8, mul vl]
        ldr     p9, [x10, #9, mul vl]
        ldr     p10, [x10, #10, mul vl]
        ldr     p11, [x10, #11, mul vl]
        ldr     p12, [x10, #12, mul vl]
        ldr     p13, [x10, #13, mul vl]
        ldr     p14, [x10, #14, mul vl]
        ldr     p15, [x10, #15, mul vl]
        ldr     x11, [x9, #256]
        msr     nzcv, x11
        ldr     x11, [x9, #264]
        msr     fpcr, x11
        ldr     x11, [x9, #272]
        msr     fpsr, x11
        ldr     x11, [x9, #248]
        mov     sp, x11
        mov     x30, x9
        ldp     x0, x1, [x30, #0]
        ldp     x2, x3, [x30, #16]
        ldp     x4, x5, [x30, #32]
        ldp     x6, x7, [x30, #48]
        ldp     x8, x9, [x30, #64]
        ldp     x10, x11, [x30, #80]
        ldp     x12, x13, [x30, #96]
        ldp     x14, x15, [x30, #112]
        ldp     x16, x17, [x30, #128]
        ldp     x18, x19, [x30, #144]
        ldp     x20, x21, [x30, #160]
        ldp     x22, x23, [x30, #176]
        ldp     x24, x25, [x30, #192]
        ldp     x26, x27, [x30, #208]
        ldp     x28, x29, [x30, #224]
        ldr     x30, [x30, #240]
        .globl sve_ref_slot
sve_ref_slot:
        nop
        msr     tpidr_el0, x30
        adrp    x30, g_ref
        add     x30, x30, :lo12:g_ref
        stp     x0, x1, [x30, #0]
        stp     x2, x3, [x30, #16]
        stp     x4, x5, [x30, #32]
        stp     x6, x7, [x30, #48]
        stp     x8, x9, [x30, #64]
        stp     x10, x11, [x30, #80]
        stp     x12, x13, [x30, #96]
        stp     x14, x15, [x30, #112]
        stp     x16, x17, [x30, #128]
        stp     x18, x19, [x30, #144]
        stp     x20, x21, [x30, #160]
        stp     x22, x23, [x30, #176]
        stp     x24, x25, [x30, #192]
        stp     x26, x27, [x30, #208]
        stp     x28, x29, [x30, #224]
        mrs     x0, tpidr_el0
        str     x0, [x30, #240]
        mov     x0, sp
        str     x0, [x30, #248]
        mrs     x0, nzcv
        str     x0, [x30, #256]
        mrs     x0, fpcr
        str     x0, [x30, #264]
        mrs     x0, fpsr
        str     x0, [x30, #272]
        add     x1, x30, #304
        str     z0, [x1, #0, mul vl]
        str     z1, [x1, #1, mul vl]
        str     z2, [x1, #2, mul vl]
        str     z3, [x1, #3, mul vl]
        str     z4, [x1, #4, mul vl]
        str     z5, [x1, #5, mul vl]
        str     z6, [x1, #6, mul vl]
        str     z7, [x1, #7, mul vl]
        str     z8, [x1, #8, mul vl]
        str     z9, [x1, #9, mul vl]
        str     z10, [x1, #10, mul vl]
        str     z11, [x1, #11, mul vl]
        str     z12, [x1, #12, mul vl]
        str     z13, [x1, #13, mul vl]
        str     z14, [x1, #14, mul vl]
        str     z15, [x1, #15, mul vl]
        str     z16, [x1, #16, mul vl]
        str     z17, [x1, #17, mul vl]
        str     z18, [x1, #18, mul vl]
        str     z19, [x1, #19, mul vl]
        str     z20, [x1, #20, mul vl]
        str     z21, [x1, #21, mul vl]
        str     z22, [x1, #22, mul vl]
        str     z23, [x1, #23, mul vl]
        str     z24, [x1, #24, mul vl]
        str     z25, [x1, #25, mul vl]
        str     z26, [x1, #26, mul vl]
        str     z27, [x1, #27, mul vl]
        str     z28, [x1, #28, mul vl]
        str     z29, [x1, #29, mul vl]
        str     z30, [x1, #30, mul vl]
        str     z31, [x1, #31, mul vl]
        add     x1, x30, #3888
        str     p0, [x1, #0, mul vl]
        str     p1, [x1, #1, mul vl]
        str     p2, [x1, #2, mul vl]
        str     p3, [x1, #3, mul vl]
        str     p4, [x1, #4, mul vl]
        str     p5, [x1, #5, mul vl]
        str     p6, [x1, #6, mul vl]
        str     p7, [x1, #7, mul vl]
        str     p8, [x1, #8, mul vl]
        str     p9, [x1, #9, mul vl]
        str     p10, [x1, #10, mul vl]
        str     p11, [x1, #11, mul vl]
        str     p12, [x1, #12, mul vl]
        str     p13, [x1, #13, mul vl]
        str     p14, [x1, #14, mul vl]
        str     p15, [x1, #15, mul vl]
        rdffr   p0.b
        str     p0, [x1, #16, mul vl]
        ldr     x0, [x30, #288]
        msr     tpidr_el0, x0
        ldr     x0, [x30, #296]
        msr     fpcr, x0
        ldr     x0, [x30, #280]
        mov     sp, x0
        ldp     x19, x20, [sp, #16]
        ldp     x21, x22, [sp, #32]
        ldp     x23, x24, [sp, #48]
        ldp     x25, x26, [sp, #64]
        ldp     x27, x28, [sp, #80]
        ldp     d8, d9, [sp, #96]
        ldp     d10, d11, [sp, #112]
        ldp     d12, d13, [sp, #128]
        ldp     d14, d15, [sp, #144]
        ldp     x29, x30, [sp], #160
        ret
        .size sve_ref_run, . - sve_ref_run
        .p2align 12
        .section .note.GNU-stack,"",%progbits
