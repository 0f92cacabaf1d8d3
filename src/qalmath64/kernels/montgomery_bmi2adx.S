/* Montgomery products of four and of eight digits, whose reduction stays in registers.
 *
 * The product comes first, and its lower half is reduced as if there were no other: that is where
 * the rows' bound holds. Its upper half is added at the end, which may carry, and the modulus is
 * subtracted if the sum, carry included, is not less than it. */
#include "qalmath64/kernels/rows_bmi2adx.h"

.macro ADD register, d
    .if \d == 0
    addq    \d(%rdi), \register
    .else
    adcq    \d(%rdi), \register
    .endif
.endm
.macro SUBTRACT register, d
    .if \d == 0
    subq    \d(%rsi), \register
    .else
    sbbq    \d(%rsi), \register
    .endif
.endm
.macro TAKE_IF_BORROW register, d
    cmovcq  \d(%rsp), \register
.endm

/* Reduces t, sixteen digits at rsp, and stores the result: rcx c, rsi p. */
.macro REDUCE_8 r
    movq    %rsp, %rdi
    EACH    8, LOAD
    .rept   8
    movq    A0, %rdx
    imulq   %rcx, %rdx
    ROW     8, 0, 0
    .endr
    leaq    64(%rsp), %rdi
    EACH    8, ADD
    movl    $0, %ebx
    adcl    $0, %ebx
    movq    %rsp, %rdi
    EACH    8, STORE
    EACH    8, SUBTRACT
    sbbq    $0, %rbx
    EACH    8, TAKE_IF_BORROW
    movq    \r, %rdi
    EACH    8, STORE
.endm

/* void qal_mont_mul_8_bmi2adx(qald *r, const qald *a, const qald *b, const qald *p, qald c)
 *
 * On the stack: the product, r, p, c. */
QAL_KERNEL(qal_mont_mul_8_bmi2adx)
    SAVE_REGISTERS
    QAL_FRAME(152)
    movq    %rdi, 128(%rsp)
    movq    %rcx, 136(%rsp)
    movq    %r8, 144(%rsp)
    movq    %rdx, %rcx
    movq    %rsp, %rdi
    EACH    8, CLEAR
    .rept   8
    movq    (%rcx), %rdx
    ROW     8, 0, 1
    leaq    8(%rcx), %rcx
    leaq    8(%rdi), %rdi
    .endr
    EACH    8, STORE
    movq    136(%rsp), %rsi
    movq    144(%rsp), %rcx
    REDUCE_8 128(%rsp)
    QAL_UNFRAME(152)
    RESTORE_REGISTERS
    ret
QAL_END(qal_mont_mul_8_bmi2adx)

/* void qal_mont_sqr_8_bmi2adx(qald *r, const qald *a, const qald *p, qald c) */
QAL_KERNEL(qal_mont_sqr_8_bmi2adx)
    SAVE_REGISTERS
    QAL_FRAME(152)
    movq    %rdi, 128(%rsp)
    movq    %rdx, 136(%rsp)
    movq    %rcx, 144(%rsp)
    movq    %rsp, %rdi
    EACH    8, CLEAR
    TRIANGLE_ROWS 8
    CLEAR   A7
    EACH    8, STORE
    leaq    -64(%rdi), %rdi
    movq    $0, (%rdi)
    xorl    %eax, %eax
    DOUBLE  0
    DOUBLE  1
    DOUBLE  2
    DOUBLE  3
    DOUBLE  4
    DOUBLE  5
    DOUBLE  6
    DOUBLE  7
    movq    136(%rsp), %rsi
    movq    144(%rsp), %rcx
    REDUCE_8 128(%rsp)
    QAL_UNFRAME(152)
    RESTORE_REGISTERS
    ret
QAL_END(qal_mont_sqr_8_bmi2adx)

/* A row of four digits on four registers; the digit that is divided off goes to `out`, if given. */
.macro ROW_4 x0, x1, x2, x3, a, out
    xorl    %ebx, %ebx
    mulx    (\a), %rbx, %rax
    adcx    %rbx, \x0
    .ifnb \out
    movq    \x0, \out
    .endif
    adox    \x1, %rax
    mulx    8(\a), %rbx, \x1
    adcx    %rbx, %rax
    adox    \x2, \x1
    mulx    16(\a), %rbx, \x2
    adcx    %rbx, \x1
    adox    \x3, \x2
    mulx    24(\a), %rbx, \x3
    adcx    %rbx, \x2
    movl    $0, %ebx
    adcx    %rbx, \x3
    adox    %rbx, \x3
    movq    %rax, \x0
.endm

/* Reduces A4 to A7 by the modulus at rbp, adds A0 to A3 and stores the result at rdi: rcx c. */
.macro REDUCE_4
    .rept   4
    movq    A4, %rdx
    imulq   %rcx, %rdx
    ROW_4   A4, A5, A6, A7, %rbp
    .endr
    addq    A0, A4
    adcq    A1, A5
    adcq    A2, A6
    adcq    A3, A7
    movl    $0, %ebx
    adcl    $0, %ebx
    movq    A4, A0
    movq    A5, A1
    movq    A6, A2
    movq    A7, A3
    subq    (%rbp), A4
    sbbq    8(%rbp), A5
    sbbq    16(%rbp), A6
    sbbq    24(%rbp), A7
    sbbq    $0, %rbx
    cmovcq  A0, A4
    cmovcq  A1, A5
    cmovcq  A2, A6
    cmovcq  A3, A7
    movq    A4, (%rdi)
    movq    A5, 8(%rdi)
    movq    A6, 16(%rdi)
    movq    A7, 24(%rdi)
.endm

/* void qal_mont_mul_4_bmi2adx(qald *r, const qald *a, const qald *b, const qald *p, qald c)
 *
 * rcx b, rbp p; the upper half of the product in A0 to A3, the lower in A4 to A7. */
QAL_KERNEL(qal_mont_mul_4_bmi2adx)
    SAVE_REGISTERS
    QAL_FRAME(8)
    movq    %r8, (%rsp)
    movq    %rcx, %rbp
    movq    %rdx, %rcx
    movq    (%rcx), %rdx
    mulx    (%rsi), A4, A0
    mulx    8(%rsi), %rax, A1
    mulx    16(%rsi), %rbx, A2
    addq    %rax, A0
    mulx    24(%rsi), %rax, A3
    adcq    %rbx, A1
    adcq    %rax, A2
    adcq    $0, A3
    movq    8(%rcx), %rdx
    ROW_4   A0, A1, A2, A3, %rsi, A5
    movq    16(%rcx), %rdx
    ROW_4   A0, A1, A2, A3, %rsi, A6
    movq    24(%rcx), %rdx
    ROW_4   A0, A1, A2, A3, %rsi, A7
    movq    (%rsp), %rcx
    REDUCE_4
    QAL_UNFRAME(8)
    RESTORE_REGISTERS
    ret
QAL_END(qal_mont_mul_4_bmi2adx)

/* void qal_mont_sqr_4_bmi2adx(qald *r, const qald *a, const qald *p, qald c) */
QAL_KERNEL(qal_mont_sqr_4_bmi2adx)
    SAVE_REGISTERS
    movq    %rdx, %rbp
    SQUARE_4 %rsi, A4, A5, A6, A7, A0, A1, A2, A3
    REDUCE_4
    RESTORE_REGISTERS
    ret
QAL_END(qal_mont_sqr_4_bmi2adx)
