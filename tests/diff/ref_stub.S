// Runs one instruction word on the reference CPU: loads every register from
// g_ref, branches to the word patched into sve_ref_slot, which branches
// back, and stores every register. The host's stack pointer, TPIDR_EL0 and FPCR are kept in g_ref.
        .arch armv8.2-a+sve
        .text

// op (ldp or stp) on each pair of registers at base + first, + 16, ...
.macro pairs op, base, first, regs:vararg
        .set poff, \first
        .irp r, \regs
        \op \r, [\base, #poff]
        .set poff, poff + 16
        .endr
.endm
        .p2align 12
        .globl sve_ref_run
        .type sve_ref_run, %function
sve_ref_run:
        stp     x29, x30, [sp, #-160]!
        pairs   stp, sp, 16, "x19, x20", "x21, x22", "x23, x24", "x25, x26", "x27, x28", "d8, d9", "d10, d11", "d12, d13", "d14, d15"
        adrp    x9, g_ref
        add     x9, x9, :lo12:g_ref
        mov     x10, sp
        str     x10, [x9, #280]
        mrs     x10, tpidr_el0
        str     x10, [x9, #288]
        mrs     x10, fpcr
        str     x10, [x9, #296]
        add     x10, x9, #304
        .irp n, 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31
        ldr     z\n, [x10, #\n, mul vl]
        .endr
        add     x10, x9, #3888
        ldr     p0, [x10, #16, mul vl]
        wrffr   p0.b
        .irp n, 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15
        ldr     p\n, [x10, #\n, mul vl]
        .endr
        ldr     x11, [x9, #256]
        msr     nzcv, x11
        ldr     x11, [x9, #264]
        msr     fpcr, x11
        ldr     x11, [x9, #272]
        msr     fpsr, x11
        ldr     x11, [x9, #248]
        mov     sp, x11
        mov     x30, x9
        pairs   ldp, x30, 0, "x0, x1", "x2, x3", "x4, x5", "x6, x7", "x8, x9", "x10, x11", "x12, x13", "x14, x15"
        pairs   ldp, x30, 128, "x16, x17", "x18, x19", "x20, x21", "x22, x23", "x24, x25", "x26, x27", "x28, x29"
        ldr     x30, [x30, #240]
        b       sve_ref_slot
sve_ref_back:
        msr     tpidr_el0, x30
        adrp    x30, g_ref
        add     x30, x30, :lo12:g_ref
        pairs   stp, x30, 0, "x0, x1", "x2, x3", "x4, x5", "x6, x7", "x8, x9", "x10, x11", "x12, x13", "x14, x15"
        pairs   stp, x30, 128, "x16, x17", "x18, x19", "x20, x21", "x22, x23", "x24, x25", "x26, x27", "x28, x29"
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
        .irp n, 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31
        str     z\n, [x1, #\n, mul vl]
        .endr
        add     x1, x30, #3888
        .irp n, 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15
        str     p\n, [x1, #\n, mul vl]
        .endr
        rdffr   p0.b
        str     p0, [x1, #16, mul vl]
        ldr     x0, [x30, #288]
        msr     tpidr_el0, x0
        ldr     x0, [x30, #296]
        msr     fpcr, x0
        ldr     x0, [x30, #280]
        mov     sp, x0
        pairs   ldp, sp, 16, "x19, x20", "x21, x22", "x23, x24", "x25, x26", "x27, x28", "d8, d9", "d10, d11", "d12, d13", "d14, d15"
        ldp     x29, x30, [sp], #160
        ret
        .size sve_ref_run, . - sve_ref_run

// The word sits alone on its own page: patching it makes the reference
// translate two instructions again, not the whole stub.
        .p2align 12
        .globl sve_ref_slot
sve_ref_slot:
        nop
        b       sve_ref_back
        .p2align 12
        .section .note.GNU-stack,"",%progbits
