/* uint64_t qal_test_call(const void *function, const uint64_t arguments[6], struct call *call)
 *
 * Calls the function with marked callee-saved registers and, if asked to, with the processor's trap
 * flag; checked_call.hpp has the record. */
#include "qalmath64/kernels/asm.h"

/* clang-format off */
    .set    STACK, 0
    .set    REGISTERS, 8
    .set    FLAGS, 56
    .set    STEP, 64

.macro MARK register, number
    movabsq $0x5a5a5a5a5a5a5a00 + \number, %\register
.endm

QAL_FUNCTION(qal_test_call)
    QAL_PUSH(rbx)
    QAL_PUSH(rbp)
    QAL_PUSH(r12)
    QAL_PUSH(r13)
    QAL_PUSH(r14)
    QAL_PUSH(r15)
    QAL_PUSH(rdx)
    movq    %rdi, %rax
    movq    %rsi, %r10
    movq    %rdx, %r11
    MARK    rbx, 0
    MARK    rbp, 1
    MARK    r12, 2
    MARK    r13, 3
    MARK    r14, 4
    MARK    r15, 5
    movq    (%r10), %rdi
    movq    8(%r10), %rsi
    movq    16(%r10), %rdx
    movq    24(%r10), %rcx
    movq    32(%r10), %r8
    movq    40(%r10), %r9
    movq    %rsp, STACK(%r11)
    cmpq    $0, STEP(%r11)
    je      1f
    pushfq
    orq     $0x100, (%rsp)
    popfq
1:  call    *%rax
    .globl  qal_test_call_return
qal_test_call_return:
    movq    (%rsp), %r11
    pushfq
    popq    FLAGS(%r11)
    pushfq
    andq    $~0x100, (%rsp)
    popfq
    movq    %rbx, REGISTERS(%r11)
    movq    %rbp, REGISTERS + 8(%r11)
    movq    %r12, REGISTERS + 16(%r11)
    movq    %r13, REGISTERS + 24(%r11)
    movq    %r14, REGISTERS + 32(%r11)
    movq    %r15, REGISTERS + 40(%r11)
    cld
    QAL_POP(rdx)
    QAL_POP(r15)
    QAL_POP(r14)
    QAL_POP(r13)
    QAL_POP(r12)
    QAL_POP(rbp)
    QAL_POP(rbx)
    ret
    .globl  qal_test_call_end
qal_test_call_end:
QAL_END(qal_test_call)
