/* qald *qalmul(const qald *a, const qald *b, qald *c)
 *
 * rbx is c, and its first word the length that the product would have with a full top digit. The
 * digits come from the kernel of the variant, or, beyond its sizes, from qal_multiply. */
#include "qalmath64/kernels/multiply.hpp"
#include "qalmath64/kernels/rows_bmi2adx.h"

.macro MULTIPLY kernel
    testq   %rax, %rax
    jz      .Lzero\@
    testq   %r8, %r8
    jz      .Lzero\@
    QAL_PUSH(rbx)
    movq    %rdx, %rbx
    leaq    8(%rsi), %rcx
    leaq    8(%rdi), %rsi
    leaq    8(%rdx), %rdi
    movq    %rax, %rdx
    addq    %r8, %rax
    movq    %rax, (%rbx)
    cmpq    $QAL_KARATSUBA_DIGITS, %rdx
    jb      .Lrows\@
    cmpq    $QAL_KARATSUBA_DIGITS, %r8
    jb      .Lrows\@
    call    qal_multiply
    jmp     .Llength\@
.Lrows\@:
    call    \kernel
.Llength\@:
    movq    (%rbx), %rcx
    movq    %rbx, %rax
    cmpq    $1, (%rbx, %rcx, 8)
    sbbq    $0, (%rbx)
    QAL_POP(rbx)
    ret
.Lzero\@:
    movq    $0, (%rdx)
    movq    %rdx, %rax
    ret
.endm

QAL_KERNEL(qalmul_portable)
    movq    (%rdi), %rax
    movq    (%rsi), %r8
    MULTIPLY qal_mul_digits_portable
QAL_END(qalmul_portable)

QAL_KERNEL(qalmul_bmi2adx)
    movq    (%rdi), %rax
    movq    (%rsi), %r8
    cmpq    $4, %rax
    jne     .Lany
    cmpq    %rax, %r8
    je      .Lfour
.Lany:
    MULTIPLY qal_mul_digits_bmi2adx

    /* rows of four digits by four, which need no more registers than a call may take */
.Lfour:
    QAL_PUSH(rbx)
    leaq    8(%rsi), %rcx
    leaq    8(%rdi), %rsi
    leaq    8(%rdx), %rdi
    EACH    4, CLEAR
    .rept   4
    movq    (%rcx), %rdx
    ROW     4, 0, 1
    leaq    8(%rcx), %rcx
    leaq    8(%rdi), %rdi
    .endr
    EACH    4, STORE
    leaq    -40(%rdi), %rax
    movl    $8, %ecx
    cmpq    $1, A3
    sbbq    $0, %rcx
    movq    %rcx, (%rax)
    QAL_POP(rbx)
    ret
QAL_END(qalmul_bmi2adx)
