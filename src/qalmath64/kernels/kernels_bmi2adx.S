/* Products, squares and reductions of any length for processors with BMI2 and ADX. kernels.hpp says
 * what each does, rows_bmi2adx.h how. */
#include "qalmath64/kernels/rows_bmi2adx.h"

/* Rows and, above them, the accumulator. */
.macro ROWS_FUNCTION name, w, addend
QAL_LOCAL_FUNCTION(\name)
    ROWS    \w, \addend
    EACH    \w, STORE
    ret
QAL_END(\name)
.endm

    ROWS_FUNCTION qal_rows_1, 1, 0
    ROWS_FUNCTION qal_rows_2, 2, 0
    ROWS_FUNCTION qal_rows_3, 3, 0
    ROWS_FUNCTION qal_rows_4, 4, 0
    ROWS_FUNCTION qal_rows_5, 5, 0
    ROWS_FUNCTION qal_rows_6, 6, 0
    ROWS_FUNCTION qal_rows_7, 7, 0
    ROWS_FUNCTION qal_rows_8, 8, 0
    ROWS_FUNCTION qal_rows_add_8, 8, 1

/* Where the functions for widths 1 to 8 are, as distances from the table. */
.macro TABLE name, function
    .section .rodata
    .p2align 2
\name:
    .long   \function\()1 - \name, \function\()2 - \name, \function\()3 - \name
    .long   \function\()4 - \name, \function\()5 - \name, \function\()6 - \name
    .long   \function\()7 - \name, \function\()8 - \name
    .text
.endm

    TABLE   .Lrows, qal_rows_
    TABLE   .Ltriangle, qal_triangle_
    TABLE   .Lreduce, qal_reduce_

/* Calls the function for width rax + 1; rdx is lost. */
.macro CALL_WIDTH table
    leaq    \table(%rip), %rdx
    movslq  (%rdx, %rax, 4), %rax
    addq    %rdx, %rax
    call    *%rax
.endm

/* void qal_mul_digits_bmi2adx(qald *r, const qald *a, size_t n, const qald *b, size_t m)
 *
 * On the stack: r of the block, its a, blocks to go, b, m. */
QAL_KERNEL(qal_mul_digits_bmi2adx)
    SAVE_REGISTERS
    QAL_FRAME(40)
    decq    %rdx
    movl    %edx, %eax
    shrq    $3, %rdx
    andl    $7, %eax
    movq    %rdx, 16(%rsp)
    leaq    8(%rdi, %rax, 8), %rdx
    movq    %rdx, (%rsp)
    leaq    8(%rsi, %rax, 8), %rdx
    movq    %rdx, 8(%rsp)
    movq    %rcx, 24(%rsp)
    movq    %r8, 32(%rsp)
    movq    %r8, %rbp
    EACH    8, CLEAR
    CALL_WIDTH .Lrows
1:  decq    16(%rsp)
    js      2f
    movq    (%rsp), %rdi
    movq    8(%rsp), %rsi
    movq    24(%rsp), %rcx
    movq    32(%rsp), %rbp
    addq    $64, (%rsp)
    addq    $64, 8(%rsp)
    EACH    8, CLEAR
    call    qal_rows_add_8
    jmp     1b
2:  QAL_UNFRAME(40)
    RESTORE_REGISTERS
    ret
QAL_END(qal_mul_digits_bmi2adx)

.macro TRIANGLE_FUNCTION w, top
QAL_LOCAL_FUNCTION(qal_triangle_\w)
    EACH    8, CLEAR
    TRIANGLE_ROWS \w
    CLEAR   \top
    jmp     qal_rows_\w
QAL_END(qal_triangle_\w)
.endm

    TRIANGLE_FUNCTION 1, A0
    TRIANGLE_FUNCTION 2, A1
    TRIANGLE_FUNCTION 3, A2
    TRIANGLE_FUNCTION 4, A3
    TRIANGLE_FUNCTION 5, A4
    TRIANGLE_FUNCTION 6, A5
    TRIANGLE_FUNCTION 7, A6
    TRIANGLE_FUNCTION 8, A7

/* The same on top of what blocks before have put there. */
QAL_LOCAL_FUNCTION(qal_triangle_add_8)
    EACH    8, LOAD
    TRIANGLE_ROWS 8
    CLEAR   A7
    jmp     qal_rows_add_8
QAL_END(qal_triangle_add_8)

/* void qal_sqr_digits_bmi2adx(qald *r, const qald *a, size_t n)
 *
 * On the stack: where in r, where in a, rows of the next block, r, a, n. */
QAL_KERNEL(qal_sqr_digits_bmi2adx)
    SAVE_REGISTERS
    QAL_FRAME(56)
    movq    %rdi, 24(%rsp)
    movq    %rsi, 32(%rsp)
    movq    %rdx, 40(%rsp)
    leaq    -1(%rdx), %rax
    andl    $7, %eax
    leaq    8(%rsi, %rax, 8), %rcx
    movq    %rcx, 8(%rsp)
    leaq    1(%rax), %rcx
    leaq    (%rcx, %rcx), %rbx
    leaq    (%rdi, %rbx, 8), %rbx
    movq    %rbx, (%rsp)
    movq    %rdx, %rbp
    subq    %rcx, %rbp
    movq    %rbp, 16(%rsp)
    CALL_WIDTH .Ltriangle
1:  movq    16(%rsp), %rbp
    subq    $8, %rbp
    jc      2f
    movq    %rbp, 16(%rsp)
    movq    (%rsp), %rdi
    movq    8(%rsp), %rsi
    addq    $128, (%rsp)
    addq    $64, 8(%rsp)
    call    qal_triangle_add_8
    jmp     1b

2:  movq    24(%rsp), %rdi
    movq    32(%rsp), %rsi
    movq    40(%rsp), %rbp
    movl    %ebp, %ecx
    shrq    $2, %rbp
    andl    $3, %ecx
    movq    $0, (%rdi)
    xorl    %eax, %eax
    jmp     4f
3:  leaq    -1(%rcx), %rcx
    DOUBLE  0
    leaq    8(%rsi), %rsi
    leaq    16(%rdi), %rdi
4:  jrcxz   5f
    jmp     3b
5:  movq    %rbp, %rcx
    jmp     7f
6:  leaq    -1(%rcx), %rcx
    DOUBLE  0
    DOUBLE  1
    DOUBLE  2
    DOUBLE  3
    leaq    32(%rsi), %rsi
    leaq    64(%rdi), %rdi
7:  jrcxz   8f
    jmp     6b
8:  QAL_UNFRAME(56)
    RESTORE_REGISTERS
    ret
QAL_END(qal_sqr_digits_bmi2adx)

/* w digits of Montgomery reduction. Each row's factor makes the lowest digit of the accumulator zero
 * and is kept in that digit's place; the accumulator, without the digits of t above, is carried into
 * the rows over the modulus' higher digits.
 *
 * rdi t; on the caller's stack: t, blocks to go, p, n, c, carry from below the highest w digits. */
.macro REDUCE_FUNCTION w
QAL_LOCAL_FUNCTION(qal_reduce_\w)
    EACH    \w, LOAD
    movq    24(%rsp), %rsi
    movq    40(%rsp), %rcx
    movl    $\w, %ebp
1:  movq    A0, %rdx
    imulq   %rcx, %rdx
    movq    %rdx, (%rdi)
    ROW     \w, 0, 0
    leaq    8(%rdi), %rdi
    decl    %ebp
    jnz     1b
    leaq    8 * \w(%rsi), %rcx
    leaq    -8 * \w(%rdi), %rsi
    movq    32(%rsp), %rbp
    subq    $\w, %rbp
    ROWS    \w, 1
    negq    48(%rsp)
    EACH    \w, ADD_TO
    movl    $0, %eax
    adcl    $0, %eax
    movq    %rax, 48(%rsp)
    ret
QAL_END(qal_reduce_\w)
.endm

    REDUCE_FUNCTION 1
    REDUCE_FUNCTION 2
    REDUCE_FUNCTION 3
    REDUCE_FUNCTION 4
    REDUCE_FUNCTION 5
    REDUCE_FUNCTION 6
    REDUCE_FUNCTION 7
    REDUCE_FUNCTION 8

/* qald qal_redc_digits_bmi2adx(qald *t, const qald *p, size_t n, qald c)
 *
 * On the stack: t of the next block, blocks to go, p, n, c, carry. */
QAL_KERNEL(qal_redc_digits_bmi2adx)
    SAVE_REGISTERS
    QAL_FRAME(56)
    movq    %rsi, 16(%rsp)
    movq    %rdx, 24(%rsp)
    movq    %rcx, 32(%rsp)
    movq    $0, 40(%rsp)
    leaq    -1(%rdx), %rax
    movq    %rax, %rbx
    shrq    $3, %rbx
    movq    %rbx, 8(%rsp)
    andl    $7, %eax
    leaq    8(%rdi, %rax, 8), %rbx
    movq    %rbx, (%rsp)
    CALL_WIDTH .Lreduce
1:  decq    8(%rsp)
    js      2f
    movq    (%rsp), %rdi
    addq    $64, (%rsp)
    call    qal_reduce_8
    jmp     1b
2:  movq    40(%rsp), %rax
    QAL_UNFRAME(56)
    RESTORE_REGISTERS
    ret
QAL_END(qal_redc_digits_bmi2adx)

/* Rows of any length, for division: rdi r, rsi a, rdx n at first, rcx b; then r9 the carry and rcx
 * digits or groups of four to go. What is subtracted from is complemented before and after, so that
 * the chains need to add only: r - a b = ~(~r + a b). */
.macro LONG_ROW_DIGIT kind, d
    mulx    \d(%rsi), %rax, %r10
    adcx    %r9, %rax
    .ifc \kind, add
    adox    \d(%rdi), %rax
    .endif
    .ifc \kind, sub
    movq    \d(%rdi), %r9
    notq    %r9
    adox    %r9, %rax
    notq    %rax
    .endif
    movq    %rax, \d(%rdi)
    movq    %r10, %r9
.endm

.macro LONG_ROW name, kind
QAL_KERNEL(\name)
    movl    %edx, %r11d
    movq    %rcx, %rdx
    movl    %r11d, %ecx
    shrq    $2, %r11
    andl    $3, %ecx
    xorl    %r9d, %r9d
    jmp     2f
1:  leaq    -1(%rcx), %rcx
    LONG_ROW_DIGIT \kind, 0
    leaq    8(%rsi), %rsi
    leaq    8(%rdi), %rdi
2:  jrcxz   3f
    jmp     1b
3:  movq    %r11, %rcx
    jmp     5f
4:  leaq    -1(%rcx), %rcx
    LONG_ROW_DIGIT \kind, 0
    LONG_ROW_DIGIT \kind, 8
    LONG_ROW_DIGIT \kind, 16
    LONG_ROW_DIGIT \kind, 24
    leaq    32(%rsi), %rsi
    leaq    32(%rdi), %rdi
5:  jrcxz   6f
    jmp     4b
6:  movl    $0, %eax
    adcx    %rax, %r9
    adox    %r9, %rax
    ret
QAL_END(\name)
.endm

    LONG_ROW qal_mul_row_bmi2adx, mul
    LONG_ROW qal_addmul_row_bmi2adx, add
    LONG_ROW qal_submul_row_bmi2adx, sub
