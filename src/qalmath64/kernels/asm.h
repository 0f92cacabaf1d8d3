/* What every function in machine code begins and ends with. */
#ifndef QAL_QALMATH64_ASM_H
#define QAL_QALMATH64_ASM_H

/* clang-format off */

/* A function of the library, of its own subsystems alone, or of its file alone. */
#define QAL_FUNCTION(name)                                                                         \
    .globl name;                                                                                   \
    QAL_LOCAL_FUNCTION(name)
#define QAL_KERNEL(name)                                                                           \
    .hidden name;                                                                                  \
    QAL_FUNCTION(name)
#define QAL_LOCAL_FUNCTION(name)                                                                   \
    .text;                                                                                         \
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

/* Room on the stack, which is aligned for calls by an odd number of words pushed in all. */
#define QAL_FRAME(size)                                                                            \
    subq $size, %rsp;                                                                              \
    .cfi_adjust_cfa_offset size
#define QAL_UNFRAME(size)                                                                          \
    addq $size, %rsp;                                                                              \
    .cfi_adjust_cfa_offset -size

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
