/* What every function in machine code begins and ends with. */
#ifndef QAL_QALMATH64_ASM_H
#define QAL_QALMATH64_ASM_H

/* clang-format off */

#define QAL_FUNCTION(name)                                                                         \
    .text;                                                                                         \
    .globl name;                                                                                   \
    .type name, @function;                                                                         \
    .p2align 5;                                                                                    \
name:                                                                                              \
    .cfi_startproc;                                                                                \
    endbr64

/* Callee-saved registers on the stack, with what an unwinder must know. */
#define QAL_PUSH(register)                                                                         \
    pushq %register;                                                                               \
    .cfi_adjust_cfa_offset 8;                                                                      \
    .cfi_rel_offset register, 0
#define QAL_POP(register)                                                                          \
    popq %register;                                                                                \
    .cfi_adjust_cfa_offset -8;                                                                     \
    .cfi_restore register

/* After an even number of pushes, for calls. */
#define QAL_ALIGN_STACK                                                                            \
    subq $8, %rsp;                                                                                 \
    .cfi_adjust_cfa_offset 8
#define QAL_UNALIGN_STACK                                                                          \
    addq $8, %rsp;                                                                                 \
    .cfi_adjust_cfa_offset -8

#define QAL_END(name)                                                                              \
    .cfi_endproc;                                                                                  \
    .size name, . - name

/* This object keeps to indirect-branch tracking and shadow stacks, and needs no executable stack. */
    .section .note.gnu.property, "a"
    .p2align 3
    .long 4, 16, 5
    .asciz "GNU"
    .long 0xc0000002, 4, 3, 0
    .section .note.GNU-stack, "", @progbits

#endif
