/* Rows of digits, and what is made of them, for any x86-64 processor. kernels.hpp says what each
 * does.
 *
 * In a row: rdi r, rsi a, rdx digits, at first, and rcx b; then rdi and rsi are behind the operands
 * and r8 counts up to zero, r9 is the carry, rcx b. */
#include "qalmath64/kernels/asm.h"

/* r8 = -n for whole fours, r10 = n mod 4 */
.macro ROW_BEGIN
    movq    %rdx, %r10
    movq    %rdx, %r8
    xorl    %r9d, %r9d
    andl    $3, %r10d
    shrq    $2, %r8
.endm

/* Digit at displacement d: `op` takes the product to memory, with the carry through rdx. */
.macro ROW_DIGIT op, d
    movq    \d(%rsi), %rax
    mulq    %rcx
    addq    %r9, %rax
    adcq    $0, %rdx
    .ifc \op, movq
    movq    %rax, \d(%rdi)
    .else
    \op     %rax, \d(%rdi)
    adcq    $0, %rdx
    .endif
    movq    %rdx, %r9
.endm

.macro ROW name, op
QAL_KERNEL(\name)
    ROW_BEGIN
    testl   %r10d, %r10d
    jz      2f
1:  ROW_DIGIT \op, 0
    addq    $8, %rsi
    addq    $8, %rdi
    decl    %r10d
    jnz     1b
2:  testq   %r8, %r8
    jz      4f
3:  ROW_DIGIT \op, 0
    ROW_DIGIT \op, 8
    ROW_DIGIT \op, 16
    ROW_DIGIT \op, 24
    addq    $32, %rsi
    addq    $32, %rdi
    decq    %r8
    jnz     3b
4:  movq    %r9, %rax
    ret
QAL_END(\name)
.endm

    ROW     qal_mul_row_portable, movq
    ROW     qal_addmul_row_portable, addq
    ROW     qal_submul_row_portable, subq

/* qald qal_add_row(qald *r, const qald *a, const qald *b, size_t n), and so qal_sub_row: with the
 * carry in the flag, which inc, dec, lea, mov and jumps leave alone. */
.macro CARRY_ROW name, op
QAL_KERNEL(\name)
    movl    %ecx, %r8d
    shrq    $2, %rcx
    andl    $3, %r8d                /* clears the carry */
    jz      2f
1:  movq    (%rsi), %rax
    \op     (%rdx), %rax
    movq    %rax, (%rdi)
    leaq    8(%rsi), %rsi
    leaq    8(%rdx), %rdx
    leaq    8(%rdi), %rdi
    decl    %r8d
    jnz     1b
2:  incq    %rcx
    decq    %rcx
    jz      4f
3:  movq    (%rsi), %rax
    movq    8(%rsi), %r8
    movq    16(%rsi), %r9
    movq    24(%rsi), %r10
    \op     (%rdx), %rax
    \op     8(%rdx), %r8
    \op     16(%rdx), %r9
    \op     24(%rdx), %r10
    movq    %rax, (%rdi)
    movq    %r8, 8(%rdi)
    movq    %r9, 16(%rdi)
    movq    %r10, 24(%rdi)
    leaq    32(%rsi), %rsi
    leaq    32(%rdx), %rdx
    leaq    32(%rdi), %rdi
    decq    %rcx
    jnz     3b
4:  movl    $0, %eax
    adcl    $0, %eax
    ret
QAL_END(\name)
.endm

    CARRY_ROW qal_add_row, adcq
    CARRY_ROW qal_sub_row, sbbq

/* qald qal_add_signed_row(qald *r, const qald *a, const qald *b, size_t n, qald minus): in the same
 * way, but that xor clears the flag, which waits in rax. */
QAL_KERNEL(qal_add_signed_row)
    QAL_PUSH(rbx)
    movl    %r8d, %eax
    andl    $1, %eax
    movl    %ecx, %ebx
    shrq    $2, %rcx
    andl    $3, %ebx
    jz      2f
1:  movq    (%rdx), %r9
    xorq    %r8, %r9
    negq    %rax
    adcq    (%rsi), %r9
    sbbq    %rax, %rax
    negq    %rax
    movq    %r9, (%rdi)
    leaq    8(%rsi), %rsi
    leaq    8(%rdx), %rdx
    leaq    8(%rdi), %rdi
    decl    %ebx
    jnz     1b
2:  jrcxz   4f
3:  movq    (%rdx), %r9
    movq    8(%rdx), %r10
    movq    16(%rdx), %r11
    movq    24(%rdx), %rbx
    xorq    %r8, %r9
    xorq    %r8, %r10
    xorq    %r8, %r11
    xorq    %r8, %rbx
    negq    %rax
    adcq    (%rsi), %r9
    adcq    8(%rsi), %r10
    adcq    16(%rsi), %r11
    adcq    24(%rsi), %rbx
    sbbq    %rax, %rax
    negq    %rax
    movq    %r9, (%rdi)
    movq    %r10, 8(%rdi)
    movq    %r11, 16(%rdi)
    movq    %rbx, 24(%rdi)
    leaq    32(%rsi), %rsi
    leaq    32(%rdx), %rdx
    leaq    32(%rdi), %rdi
    decq    %rcx
    jnz     3b
4:  QAL_POP(rbx)
    ret
QAL_END(qal_add_signed_row)

/* void qal_mul_digits_portable(qald *r, const qald *a, size_t n, const qald *b, size_t m):
 * rows over b.
 *
 * rbx where in r, rbp a, r12 n, r13 where in b, r14 rows to go. */
QAL_KERNEL(qal_mul_digits_portable)
    QAL_PUSH(rbx)
    QAL_PUSH(rbp)
    QAL_PUSH(r12)
    QAL_PUSH(r13)
    QAL_PUSH(r14)
    movq    %rdi, %rbx
    movq    %rsi, %rbp
    movq    %rdx, %r12
    movq    %rcx, %r13
    movq    %r8, %r14
    movq    (%rcx), %rcx
    call    qal_mul_row_portable
    jmp     2f
1:  movq    %rbx, %rdi
    movq    %rbp, %rsi
    movq    %r12, %rdx
    movq    (%r13), %rcx
    call    qal_addmul_row_portable
2:  movq    %rax, (%rbx, %r12, 8)
    addq    $8, %rbx
    addq    $8, %r13
    decq    %r14
    jnz     1b
    QAL_POP(r14)
    QAL_POP(r13)
    QAL_POP(r12)
    QAL_POP(rbp)
    QAL_POP(rbx)
    ret
QAL_END(qal_mul_digits_portable)

/* void qal_sqr_digits_portable(qald *r, const qald *a, size_t n): the products of different digits,
 * which are then doubled while the squares are added.
 *
 * rbx where in r, rbp where in a, r12 digits of a behind it, r13 r, r14 a, r15 n. */
QAL_KERNEL(qal_sqr_digits_portable)
    QAL_PUSH(rbx)
    QAL_PUSH(rbp)
    QAL_PUSH(r12)
    QAL_PUSH(r13)
    QAL_PUSH(r14)
    QAL_PUSH(r15)
    QAL_FRAME(8)
    movq    %rdi, %r13
    movq    %rsi, %r14
    movq    %rdx, %r15
    leaq    8(%rdi), %rbx
    movq    %rsi, %rbp
    leaq    -1(%rdx), %r12
    movq    $0, (%rdi)
    testq   %r12, %r12
    jz      3f
    movq    %rbx, %rdi
    leaq    8(%rbp), %rsi
    movq    %r12, %rdx
    movq    (%rbp), %rcx
    call    qal_mul_row_portable
    jmp     2f
1:  movq    %rbx, %rdi
    leaq    8(%rbp), %rsi
    movq    %r12, %rdx
    movq    (%rbp), %rcx
    call    qal_addmul_row_portable
2:  movq    %rax, (%rbx, %r12, 8)
    addq    $16, %rbx
    addq    $8, %rbp
    decq    %r12
    jnz     1b
3:  leaq    (%r15, %r15), %rax
    movq    $0, -8(%r13, %rax, 8)
    /* rcx and r8 the carries of doubling and of summing */
    xorl    %ecx, %ecx
    xorl    %r8d, %r8d
4:  movq    (%r14), %rax
    mulq    %rax
    movq    (%r13), %r9
    movq    8(%r13), %r10
    addq    $-1, %rcx
    adcq    %r9, %r9
    adcq    %r10, %r10
    sbbq    %rcx, %rcx
    negq    %rcx
    addq    $-1, %r8
    adcq    %rax, %r9
    adcq    %rdx, %r10
    sbbq    %r8, %r8
    negq    %r8
    movq    %r9, (%r13)
    movq    %r10, 8(%r13)
    addq    $8, %r14
    addq    $16, %r13
    decq    %r15
    jnz     4b
    QAL_UNFRAME(8)
    QAL_POP(r15)
    QAL_POP(r14)
    QAL_POP(r13)
    QAL_POP(r12)
    QAL_POP(rbp)
    QAL_POP(rbx)
    ret
QAL_END(qal_sqr_digits_portable)

/* qald qal_redc_digits_portable(qald *t, const qald *p, size_t n, qald c): each row makes a digit
 * zero, whose place takes the row's carry; at the end all of those are added at once.
 *
 * rbx where in t, rbp p, r12 n, r13 c, r14 rows to go. */
QAL_KERNEL(qal_redc_digits_portable)
    QAL_PUSH(rbx)
    QAL_PUSH(rbp)
    QAL_PUSH(r12)
    QAL_PUSH(r13)
    QAL_PUSH(r14)
    movq    %rdi, %rbx
    movq    %rsi, %rbp
    movq    %rdx, %r12
    movq    %rcx, %r13
    movq    %rdx, %r14
1:  movq    %rbx, %rdi
    movq    %rbp, %rsi
    movq    %r12, %rdx
    movq    (%rbx), %rcx
    imulq   %r13, %rcx
    call    qal_addmul_row_portable
    movq    %rax, (%rbx)
    addq    $8, %rbx
    decq    %r14
    jnz     1b
    movq    %rbx, %rdi
    movq    %rbx, %rsi
    leaq    (, %r12, 8), %rax
    movq    %rbx, %rdx
    subq    %rax, %rdx
    movq    %r12, %rcx
    call    qal_add_row
    QAL_POP(r14)
    QAL_POP(r13)
    QAL_POP(r12)
    QAL_POP(rbp)
    QAL_POP(rbx)
    ret
QAL_END(qal_redc_digits_portable)
