/* qald *qalsqr(const qald *a, qald *c)
 *
 * rbx is c, and its first word the length that the square would have with a full top digit. The
 * digits come from the kernel of the variant, or, beyond its sizes, from qal_square. */
#include "qalmath64/multiply.hpp"
#include "qalmath64/rows_bmi2adx.h"

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

QAL_KERNEL(qalsqr_base)
    movq    (%rdi), %rdx
    SQUARE  qal_sqr_digits_base
QAL_END(qalsqr_base)

/* Two digits of a square of four, from the products of different digits in the same columns, which
 * are doubled along one chain of carries, and the square of a digit, added along the other. */
.macro FOUR_DOUBLE i, low, high
    movq    8 + 8 * \i(%rdi), %rdx
    mulx    %rdx, %rax, %rdx
    adcx    \low, \low
    adox    %rax, \low
    adcx    \high, \high
    adox    %rdx, \high
    movq    \low, 8 + 16 * \i(%rsi)
    movq    \high, 16 + 16 * \i(%rsi)
.endm

QAL_KERNEL(qalsqr_bmi2adx)
    movq    (%rdi), %rdx
    cmpq    $4, %rdx
    je      .Lfour
    SQUARE  qal_sqr_digits_bmi2adx

.Lfour:
    QAL_PUSH(rbx)
    /* columns 1 to 6 in r8 to r11, rbx and rcx */
    movq    8(%rdi), %rdx
    mulx    16(%rdi), %r8, %r9
    mulx    24(%rdi), %rax, %r10
    addq    %rax, %r9
    mulx    32(%rdi), %rax, %r11
    adcq    %rax, %r10
    movq    16(%rdi), %rdx
    mulx    32(%rdi), %rax, %rbx
    adcq    %rax, %r11
    adcq    $0, %rbx
    mulx    24(%rdi), %rax, %rcx
    addq    %rax, %r10
    adcq    %rcx, %r11
    movq    24(%rdi), %rdx
    mulx    32(%rdi), %rax, %rcx
    adcq    %rax, %rbx
    adcq    $0, %rcx
    xorl    %eax, %eax
    movq    8(%rdi), %rdx
    mulx    %rdx, %rax, %rdx
    movq    %rax, 8(%rsi)
    adcx    %r8, %r8
    adox    %rdx, %r8
    movq    %r8, 16(%rsi)
    FOUR_DOUBLE 1, %r9, %r10
    FOUR_DOUBLE 2, %r11, %rbx
    movq    32(%rdi), %rdx
    mulx    %rdx, %rax, %rdx
    adcx    %rcx, %rcx
    adox    %rax, %rcx
    movl    $0, %eax
    adcx    %rax, %rdx
    adox    %rax, %rdx
    movq    %rcx, 56(%rsi)
    movq    %rdx, 64(%rsi)
    movl    $8, %ecx
    cmpq    $1, %rdx
    sbbq    $0, %rcx
    movq    %rcx, (%rsi)
    movq    %rsi, %rax
    QAL_POP(rbx)
    ret
QAL_END(qalsqr_bmi2adx)
