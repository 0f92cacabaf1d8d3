// The ways into the copied code and out of it. Everything here is below 2 GiB.
    .text
    .intel_syntax noprefix

// void qal_trace_enter(const void *code, void *argument, uint8_t *stack)
    .globl qal_trace_enter
    .type qal_trace_enter, @function
qal_trace_enter:
    push rbx
    push rbp
    push r12
    push r13
    push r14
    push r15
    mov [qal_trace_host_stack], rsp
    mov rsp, rdx
    mov rax, rdi
    mov rdi, rsi
    jmp rax
    .size qal_trace_enter, . - qal_trace_enter

// What the copied code returns to, and what it goes to after an error.
    .globl qal_trace_exit
    .type qal_trace_exit, @function
qal_trace_exit:
    mov rsp, [qal_trace_host_stack]
    cld
    pop r15
    pop r14
    pop r13
    pop r12
    pop rbp
    pop rbx
    ret
    .size qal_trace_exit, . - qal_trace_exit

// Where the copied code goes when the block it wants has not been copied: no register but the
// instruction pointer may change.
    .globl qal_trace_miss
    .type qal_trace_miss, @function
qal_trace_miss:
    mov [qal_trace_guest_stack], rsp
    mov rsp, [qal_trace_host_stack]
    pushfq
    push rax
    push rcx
    push rdx
    push rbx
    push rbp
    push rsi
    push rdi
    push r8
    push r9
    push r10
    push r11
    push r12
    push r13
    push r14
    push r15
    mov rbp, rsp
    sub rsp, 16384
    and rsp, -64
    cld
    // The header of the area, then all state but that of the supervisor
    xor eax, eax
    lea rdi, [rsp + 512]
    mov ecx, 8
    rep stosq
    mov eax, -1
    mov edx, -1
    xsave64 [rsp]
    call qal_trace_translate
    mov [qal_trace_jump], rax
    mov eax, -1
    mov edx, -1
    xrstor64 [rsp]
    mov rsp, rbp
    pop r15
    pop r14
    pop r13
    pop r12
    pop r11
    pop r10
    pop r9
    pop r8
    pop rdi
    pop rsi
    pop rbp
    pop rbx
    pop rdx
    pop rcx
    pop rax
    popfq
    mov rsp, [qal_trace_guest_stack]
    jmp qword ptr [rip + qal_trace_jump]
    .size qal_trace_miss, . - qal_trace_miss

    .section .note.GNU-stack, "", @progbits
