// Two threads with vector state at the same time: each sets Z7 and P4 from
// its own seed, announces it, waits (without a system call, which would
// discard SVE state on hardware) until the other thread has done the same,
// then stores Z7 and P4 to out[0..111] and out[112..125].
        .arch   armv8.2-a+sve
        .text
        .globl  t_thread_vectors
// x0 = seed, x1 = own flag, x2 = other flag, x3 = out
t_thread_vectors:
        index   z7.b, w0, #3
        and     x9, x0, #63
        whilelo p4.b, xzr, x9
        mov     w10, #1
        stlr    w10, [x1]
1:      ldar    w10, [x2]
        cbz     w10, 1b
        ptrue   p5.b
        st1b    {z7.b}, p5, [x3]
        add     x11, x3, #112
        str     p4, [x11]
        ret
