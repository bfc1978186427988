// Cases of the runner's signal handling.
        .arch   armv8.2-a+sve2
        .text

// A permanently undefined instruction, for the program's own SIGILL handler.
        .globl  t_udf
t_udf:
        udf     #7
        ret

// An SVE2 instruction: SVE decoding has no handler for it, so it raises the
// SIGILL that the program would get on a CPU without SVE2.
        .globl  t_sve2
t_sve2:
        sqrdmlah z0.s, z1.s, z2.s
        ret

// Sets Z9 and P6, raises SIGUSR1 (whose handler runs SVE code of its own),
// then stores Z9 to out[0..111] and P6 to out[112..125].
        .globl  t_keep_across_signal
t_keep_across_signal:
        stp     x29, x30, [sp, #-32]!
        str     x19, [sp, #16]
        mov     x19, x0
        mov     z9.b, #7
        ptrue   p6.h
        mov     w0, #10                 // SIGUSR1
        bl      raise
        ptrue   p7.b
        st1b    {z9.b}, p7, [x19]
        add     x19, x19, #112
        str     p6, [x19]
        ldr     x19, [sp, #16]
        ldp     x29, x30, [sp], #32
        ret

// What the SIGUSR1 handler runs: other values in the same registers.
        .globl  t_clobber
t_clobber:
        mov     z9.b, #99
        pfalse  p6.b
        ret
