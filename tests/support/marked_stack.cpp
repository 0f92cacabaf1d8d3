#include "support/marked_stack.hpp"

#include <cstring>
#include <new>
#include <sys/mman.h>
#include <ucontext.h>

namespace qal::test {

namespace {

const std::function<void()> *running;

// Below a frame of its own, so that the way back overwrites nothing that the operation left.
void enter()
{
    uint8_t frame[256];
    std::memset(frame, MarkedStack::mark, sizeof frame);
    (*running)();
    __asm__ volatile("" : : "r"(frame) : "memory");
}

} // namespace

MarkedStack::MarkedStack()
{
    void *const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    stack_ = static_cast<uint8_t *>(memory);
}

MarkedStack::~MarkedStack()
{
    munmap(stack_, size);
}

void MarkedStack::run(const std::function<void()> &operation)
{
    std::memset(stack_, mark, size);
    ucontext_t here, there;
    getcontext(&there);
    there.uc_stack.ss_sp = stack_;
    there.uc_stack.ss_size = size;
    there.uc_link = &here;
    // Callees save these; what the caller has in them is not the operation's.
    for (const int saved : {REG_RBX, REG_RBP, REG_R12, REG_R13, REG_R14, REG_R15})
        there.uc_mcontext.gregs[saved] = 0;
    makecontext(&there, enter, 0);
    running = &operation;
    swapcontext(&here, &there);
}

bool MarkedStack::holds(const uint8_t *secret, size_t length) const
{
    constexpr size_t piece = 8;
    const size_t used = depth();
    for (size_t i = 0; i + piece <= length; i++) {
        if (memmem(stack_ + (size - used), used, secret + i, piece) != nullptr)
            return true;
    }
    return false;
}

size_t MarkedStack::depth() const
{
    size_t untouched = 0;
    while (untouched < size && stack_[untouched] == mark)
        untouched++;
    return size - untouched;
}

Bytes MarkedStack::deepest(size_t count) const
{
    const uint8_t *const lowest = stack_ + (size - depth());
    return {lowest, lowest + count};
}

} // namespace qal::test
