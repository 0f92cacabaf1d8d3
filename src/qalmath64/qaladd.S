/* qald *qaladd(qald *x, const qald *y)
 *
 * rdi x, rsi y, rcx the length of the result but for its carry, rdx digits of the shorter operand,
 * r8 and r9 where in x and y, r10 digits before the groups of four. inc, dec, lea and mov leave the
 * carry alone. */
#include "qalmath64/kernels/asm.h"

QAL_FUNCTION(qaladd)
    movq    (%rdi), %rcx
    movq    (%rsi), %rdx
    cmpq    %rcx, %rdx
    jbe     .Lcommon
    /* The digits that y alone has. */
    movq    %rdx, (%rdi)
    movq    %rcx, %r8
.Lcopy:
    movq    8(%rsi, %r8, 8), %rax
    movq    %rax, 8(%rdi, %r8, 8)
    incq    %r8
    cmpq    %rdx, %r8
    jb      .Lcopy
    xchgq   %rcx, %rdx

.Lcommon:
    leaq    8(%rdi), %r8
    leaq    8(%rsi), %r9
    movl    %edx, %r10d
    shrq    $2, %rdx
    andl    $3, %r10d               /* clears the carry */
    jz      .Lgroups
.Lsingle:
    movq    (%r9), %rax
    adcq    %rax, (%r8)
    leaq    8(%r9), %r9
    leaq    8(%r8), %r8
    decl    %r10d
    jnz     .Lsingle
.Lgroups:
    incq    %rdx
    decq    %rdx
    jz      .Lcarry
.Lgroup:
    movq    (%r9), %rax
    adcq    %rax, (%r8)
    movq    8(%r9), %rax
    adcq    %rax, 8(%r8)
    movq    16(%r9), %rax
    adcq    %rax, 16(%r8)
    movq    24(%r9), %rax
    adcq    %rax, 24(%r8)
    leaq    32(%r9), %r9
    leaq    32(%r8), %r8
    decq    %rdx
    jnz     .Lgroup

.Lcarry:
    jnc     .Ldone
    leaq    8(%rdi, %rcx, 8), %rdx  /* behind the last digit */
.Lpropagate:
    cmpq    %rdx, %r8
    je      .Lappend
    addq    $1, (%r8)
    jnc     .Ldone
    addq    $8, %r8
    jmp     .Lpropagate
.Lappend:
    movq    $1, (%r8)
    incq    (%rdi)
.Ldone:
    movq    %rdi, %rax
    ret
QAL_END(qaladd)
