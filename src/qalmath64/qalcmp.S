/* int32_t qalcmp(const qald *a, const qald *b)
 *
 * Lengths decide, since operands are normalised; then the highest digit that differs. */
#include "qalmath64/kernels/asm.h"

QAL_FUNCTION(qalcmp)
    movq    (%rdi), %rcx
    cmpq    (%rsi), %rcx
    jne     .Ldecided
    testq   %rcx, %rcx
    jz      .Lequal
.Lnext:
    movq    (%rdi, %rcx, 8), %rax
    cmpq    (%rsi, %rcx, 8), %rax
    jne     .Ldecided
    decq    %rcx
    jnz     .Lnext
.Lequal:
    xorl    %eax, %eax
    ret
.Ldecided:
    /* 1 - 0 above, 0 - 1 below */
    movl    $0, %eax
    seta    %al
    sbbl    $0, %eax
    ret
QAL_END(qalcmp)
