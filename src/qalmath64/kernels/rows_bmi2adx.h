/* Rows of products with mulx and the two carry chains of adcx and adox.
 *
 * Products, squares and reductions are made of one row, on W <= 8 digits of accumulator that stay
 * in registers:
 *
 *     acc * 2^64 + r[j] = acc + a * b[j] + r[j]        a has W digits
 *
 * The right side is at most
 *
 *     2^(64 W) - 1 + (2^(64 W) - 1)(2^64 - 1) + 2^64 - 1 = 2^(64 (W + 1)) - 1
 *
 * so that no carry ever leaves the accumulator. A product is rows over b for each block of eight
 * digits of a, with what is left by a division by eight going first. In a square the products
 * within a block make a triangle, which begins the accumulator of the rows over the digits behind
 * the block. In a reduction the block is of factors that rows over the modulus' lowest digits find.
 *
 * Registers: rdi r, rsi a, rcx where in b, rbp rows to go, rdx factor, rax and rbx parts of
 * products, r8..r15 accumulator. */
#ifndef QAL_QALMATH64_ROWS_BMI2ADX_H
#define QAL_QALMATH64_ROWS_BMI2ADX_H

#include "qalmath64/kernels/asm.h"

/* clang-format off */

#define A0 %r8
#define A1 %r9
#define A2 %r10
#define A3 %r11
#define A4 %r12
#define A5 %r13
#define A6 %r14
#define A7 %r15

/* acc = (acc + a * rdx + addend) / 2^64. The digit that is divided off is stored if `store` says so.
 *
 * The accumulator moves down a digit as the row goes on: the high half of product i is put where
 * accumulator i was, which by then has been added to the high half of product i - 1. Only the lowest
 * one makes a detour through rax. */
.macro ROW w, addend, store
    xorl    %ebx, %ebx
    mulx    (%rsi), %rbx, %rax
    adcx    %rbx, A0
    .if \addend
    adox    (%rdi), A0
    .endif
    .if \store
    movq    A0, (%rdi)
    .endif
    .if \w > 1
    adox    A1, %rax
    mulx    8(%rsi), %rbx, A1
    adcx    %rbx, %rax
    .endif
    .if \w > 2
    adox    A2, A1
    mulx    16(%rsi), %rbx, A2
    adcx    %rbx, A1
    .endif
    .if \w > 3
    adox    A3, A2
    mulx    24(%rsi), %rbx, A3
    adcx    %rbx, A2
    .endif
    .if \w > 4
    adox    A4, A3
    mulx    32(%rsi), %rbx, A4
    adcx    %rbx, A3
    .endif
    .if \w > 5
    adox    A5, A4
    mulx    40(%rsi), %rbx, A5
    adcx    %rbx, A4
    .endif
    .if \w > 6
    adox    A6, A5
    mulx    48(%rsi), %rbx, A6
    adcx    %rbx, A5
    .endif
    .if \w > 7
    adox    A7, A6
    mulx    56(%rsi), %rbx, A7
    adcx    %rbx, A6
    .endif
    movl    $0, %ebx
    FINISH_ROW_\w
    movq    %rax, A0
.endm

/* Both carries into the highest digit. */
.macro CARRIES top
    adcx    %rbx, \top
    adox    %rbx, \top
.endm
.macro FINISH_ROW_1
    CARRIES %rax
.endm
.macro FINISH_ROW_2
    CARRIES A1
.endm
.macro FINISH_ROW_3
    CARRIES A2
.endm
.macro FINISH_ROW_4
    CARRIES A3
.endm
.macro FINISH_ROW_5
    CARRIES A4
.endm
.macro FINISH_ROW_6
    CARRIES A5
.endm
.macro FINISH_ROW_7
    CARRIES A6
.endm
.macro FINISH_ROW_8
    CARRIES A7
.endm

/* Does `what` with each of the first w accumulators and its displacement. */
.macro EACH w, what:vararg
    \what   A0, 0
    .if \w > 1
    \what   A1, 8
    .endif
    .if \w > 2
    \what   A2, 16
    .endif
    .if \w > 3
    \what   A3, 24
    .endif
    .if \w > 4
    \what   A4, 32
    .endif
    .if \w > 5
    \what   A5, 40
    .endif
    .if \w > 6
    \what   A6, 48
    .endif
    .if \w > 7
    \what   A7, 56
    .endif
.endm

.macro CLEAR register, d
    xorl    \register\()d, \register\()d
.endm
.macro LOAD register, d
    movq    \d(%rdi), \register
.endm
.macro STORE register, d
    movq    \register, \d(%rdi)
.endm
.macro ADD_TO register, d
    adcq    \register, \d(%rdi)
.endm

/* rbp rows, none of which is right, too; rdi and rcx end behind what they go over. */
.macro ROWS w, addend
    testq   %rbp, %rbp
    jz      2f
1:  movq    (%rcx), %rdx
    ROW     \w, \addend, 1
    leaq    8(%rcx), %rcx
    leaq    8(%rdi), %rdi
    decq    %rbp
    jnz     1b
2:
.endm

.macro SAVE_REGISTERS
    QAL_PUSH(rbx)
    QAL_PUSH(rbp)
    QAL_PUSH(r12)
    QAL_PUSH(r13)
    QAL_PUSH(r14)
    QAL_PUSH(r15)
.endm
.macro RESTORE_REGISTERS
    QAL_POP(r15)
    QAL_POP(r14)
    QAL_POP(r13)
    QAL_POP(r12)
    QAL_POP(rbp)
    QAL_POP(rbx)
.endm

/* The triangle of the products a[i] a[j], i < j, of w digits. Column c, of the products with i + j
 * = c and what is carried there, is in accumulator (c - w) mod 8: those that are left at the end,
 * from w on, are the accumulator of the rows that follow. Row j adds columns 2j + 1 to w + j, the
 * last of which it begins; the lowest two are then complete.
 *
 * Register numbers are computed, for which gas wants .altmacro. */
.macro TRIANGLE_DIGIT w, i, low, high
    .if \i + 1 < \w
    mulx    8 * \i(%rsi), %rbx, %rax
    adcx    %rbx, %r\low
    adox    %rax, %r\high
    .else
    mulx    8 * \i(%rsi), %rbx, %r\high
    adcx    %rbx, %r\low
    movl    $0, %ebx
    adcx    %rbx, %r\high
    adox    %rbx, %r\high
    .endif
.endm
.macro TRIANGLE_STORE w, c, register
    .if \c < \w
    movq    %r\register, 8 * \c(%rdi)
    .endif
.endm
.macro TRIANGLE_ROW w, j
    movq    8 * \j(%rsi), %rdx
    xorl    %ebx, %ebx
    .Li = \j + 1
    .rept   \w - 1 - \j
    TRIANGLE_DIGIT \w, %.Li, %(8 + ((.Li + \j - \w) & 7)), %(8 + ((.Li + \j + 1 - \w) & 7))
    .Li = .Li + 1
    .endr
    TRIANGLE_STORE \w, %(2 * \j + 1), %(8 + ((2 * \j + 1 - \w) & 7))
    TRIANGLE_STORE \w, %(2 * \j + 2), %(8 + ((2 * \j + 2 - \w) & 7))
.endm
.macro TRIANGLE_ROWS w
    .altmacro
    .Lj = 0
    .rept   \w - 1
    TRIANGLE_ROW \w, %.Lj
    .Lj = .Lj + 1
    .endr
    .noaltmacro
    leaq    8 * \w(%rsi), %rcx
    leaq    8 * \w(%rdi), %rdi
.endm

/* Two digits of a square from the sum of its triangles, doubled along one chain of carries, and the
 * square of a digit, added along the other. */
.macro DOUBLE i
    movq    8 * \i(%rsi), %rdx
    mulx    %rdx, %rax, %rbx
    movq    16 * \i(%rdi), %r8
    movq    16 * \i + 8(%rdi), %r9
    adcx    %r8, %r8
    adox    %rax, %r8
    adcx    %r9, %r9
    adox    %rbx, %r9
    movq    %r8, 16 * \i(%rdi)
    movq    %r9, 16 * \i + 8(%rdi)
.endm

/* d0 to d7 = the square of the four digits at `a`, by registers alone: the products of different
 * digits, which are then doubled along one chain of carries while the squares are added along the
 * other. rax, rbx and rdx are lost. */
.macro SQUARE_4 a, d0, d1, d2, d3, d4, d5, d6, d7
    movq    (\a), %rdx
    mulx    8(\a), \d1, \d2
    mulx    16(\a), %rax, \d3
    addq    %rax, \d2
    mulx    24(\a), %rax, \d4
    adcq    %rax, \d3
    movq    8(\a), %rdx
    mulx    24(\a), %rax, \d5
    adcq    %rax, \d4
    adcq    $0, \d5
    mulx    16(\a), %rax, %rbx
    addq    %rax, \d3
    adcq    %rbx, \d4
    movq    16(\a), %rdx
    mulx    24(\a), %rax, \d6
    adcq    %rax, \d5
    adcq    $0, \d6
    xorl    %eax, %eax
    movq    (\a), %rdx
    mulx    %rdx, \d0, %rax
    adcx    \d1, \d1
    adox    %rax, \d1
    movq    8(\a), %rdx
    mulx    %rdx, %rax, %rbx
    adcx    \d2, \d2
    adox    %rax, \d2
    adcx    \d3, \d3
    adox    %rbx, \d3
    movq    16(\a), %rdx
    mulx    %rdx, %rax, %rbx
    adcx    \d4, \d4
    adox    %rax, \d4
    adcx    \d5, \d5
    adox    %rbx, \d5
    movq    24(\a), %rdx
    mulx    %rdx, %rax, \d7
    adcx    \d6, \d6
    adox    %rax, \d6
    movl    $0, %ebx
    adcx    %rbx, \d7
    adox    %rbx, \d7
.endm

#endif
