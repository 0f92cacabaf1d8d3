/* qald *qalsqr(const qald *a, qald *c)
 *
 * rbx is c, and its first word the length that the square would have with a full top digit. The
 * digits come from the kernel of the variant, or, beyond its sizes, from qal_square. */
#include "qalmath64/kernels/multiply.hpp"
#include "qalmath64/kernels/rows_bmi2adx.h"

.macro SQUARE kernel
    testq   %rdx, %rdx
    jz      .Lzero\@
    QAL_PUSH(rbx)
    movq    %rsi, %rbx
    leaq    (%rdx, %rdx), %rax
    leaq    8(%rdi), %rsi
    leaq    8(%rbx), %rdi
    movq    %rax, (%rbx)
    cmpq    $QAL_KARATSUBA_SQUARE_DIGITS, %rdx
    jb      .Lrows\@
    call    qal_square
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
    movq    $0, (%rsi)
    movq    %rsi, %rax
    ret
.endm

QAL_KERNEL(qalsqr_portable)
    movq    (%rdi), %rdx
    SQUARE  qal_sqr_digits_portable
QAL_END(qalsqr_portable)

QAL_KERNEL(qalsqr_bmi2adx)
    movq    (%rdi), %rdx
    cmpq    $4, %rdx
    je      .Lfour
    SQUARE  qal_sqr_digits_bmi2adx

.Lfour:
    QAL_PUSH(rbx)
    QAL_PUSH(r12)
    QAL_PUSH(r13)
    QAL_PUSH(r14)
    leaq    8(%rdi), %rdi
    SQUARE_4 %rdi, %r8, %r9, %r10, %r11, %r12, %r13, %r14, %rcx
    movq    %r8, 8(%rsi)
    movq    %r9, 16(%rsi)
    movq    %r10, 24(%rsi)
    movq    %r11, 32(%rsi)
    movq    %r12, 40(%rsi)
    movq    %r13, 48(%rsi)
    movq    %r14, 56(%rsi)
    movq    %rcx, 64(%rsi)
    movl    $8, %edx
    cmpq    $1, %rcx
    sbbq    $0, %rdx
    movq    %rdx, (%rsi)
    movq    %rsi, %rax
    QAL_POP(r14)
    QAL_POP(r13)
    QAL_POP(r12)
    QAL_POP(rbx)
    ret
QAL_END(qalsqr_bmi2adx)
