// What the exported operations take from the machine: the stack that the overview of the headers
// grants them, and no memory besides.
#include "operations/operations.hpp"
#include "poison.hpp"
#include "support/marked_stack.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <pthread.h>
#include <set>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

using namespace qal::test;

namespace {

// What include/qal/qal.h says that none exceeds.
constexpr size_t bound = 56 * 1024;

// It hangs by design.
const std::set<std::string> never_returning = {"dummy_gen_rnd"};

std::set<std::string> exported_functions()
{
    std::set<std::string> names;
    std::ifstream file(QAL_EXPORTS);
    std::string line, name, kind;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        if (words >> name >> kind && kind == "function")
            names.insert(name);
    }
    return names;
}

// The list in the overview: items "- 1024: one, another" that go on in indented lines.
std::map<std::string, size_t> documented_stack()
{
    std::map<std::string, size_t> stack;
    std::ifstream file(QAL_OVERVIEW);
    std::string line;
    size_t figure = 0;
    while (std::getline(file, line)) {
        const bool item = line.starts_with(" * - ");
        if (item)
            figure = std::stoul(line.substr(5));
        else if (!line.starts_with(" *   "))
            figure = 0;
        if (figure == 0)
            continue;
        std::istringstream words(item ? line.substr(line.find(':') + 1) : line.substr(5));
        std::string name;
        while (words >> name) {
            if (name.back() == ',')
                name.pop_back();
            EXPECT_TRUE(stack.emplace(name, figure).second) << name << " is there twice";
        }
    }
    return stack;
}

class Resources : public testing::Test {
protected:
    Operations operations;
};

std::string title(const Operation &operation)
{
    return operation.name + " (" + operation.arguments + ")";
}

} // namespace

TEST_F(Resources, EveryExportIsMeasuredAndDocumented)
{
    std::set<std::string> called = never_returning, documented;
    for (const Operation &operation : operations.all)
        called.insert(operation.name);
    for (const auto &[name, bytes] : documented_stack()) {
        documented.insert(name);
        EXPECT_LE(bytes, bound) << name;
    }
    EXPECT_EQ(called, exported_functions());
    EXPECT_EQ(documented, exported_functions());
}

TEST(ResourcesHarness, StackIsMeasured)
{
    MarkedStack stack;
    stack.run([] {});
    const size_t alone = stack.depth();
    for (const size_t size : {1000U, 10000U, 100000U}) {
        stack.run([=] {
            auto *const room = static_cast<uint8_t *>(__builtin_alloca(size));
            std::memset(room, 1, size);
            __asm__ volatile("" : : "r"(room) : "memory");
        });
        EXPECT_GE(stack.depth() - alone, size);
        EXPECT_LT(stack.depth() - alone, size + 200);
    }
}

TEST_F(Resources, StackIsAsDocumented)
{
    const std::map<std::string, size_t> documented = documented_stack();
    MarkedStack stack;
    stack.run([] {});
    const size_t alone = stack.depth();
    std::map<std::string, size_t> most;
    for (const Operation &operation : operations.all) {
        operations.reset();
        stack.run(operation.call);
        size_t &used = most[operation.name];
        used = std::max(used, stack.depth() - alone);
    }
    for (const auto &[name, used] : most) {
        std::cout << name << " " << used << "\n";
        const auto it = documented.find(name);
        EXPECT_LE(used, it == documented.end() ? 0 : it->second) << name;
    }
}

// What a caller has left on the stack stays there.
TEST_F(Resources, NothingOfTheStackIsInResults)
{
    MarkedStack stack;
    ASSERT_FALSE(operations.holds_word_of(MarkedStack::mark));
    for (const Operation &operation : operations.all) {
        stack.run(operation.call);
        EXPECT_FALSE(operations.holds_word_of(MarkedStack::mark)) << title(operation);
        operations.reset();
    }
}

namespace {

struct Job {
    Operations *operations;
    const Operation *operation;
    Bytes *result;
};

void *work(void *argument)
{
    const Job &job = *static_cast<const Job *>(argument);
    job.operation->call();
    *job.result = job.operation->result();
    return nullptr;
}

// A thread's stack with an inaccessible page below it.
class ThreadStack {
public:
    explicit ThreadStack(size_t size) : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
    {
        size_ = (size + page_ - 1) / page_ * page_;
        memory_ = static_cast<uint8_t *>(mmap(nullptr, size_ + page_, PROT_READ | PROT_WRITE,
                                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_NE(memory_, MAP_FAILED);
        EXPECT_EQ(mprotect(memory_, page_, PROT_NONE), 0);
    }
    ThreadStack(const ThreadStack &) = delete;
    ThreadStack &operator=(const ThreadStack &) = delete;
    ~ThreadStack() { munmap(memory_, size_ + page_); }

    void run(Job &job)
    {
        pthread_attr_t attributes;
        pthread_t thread;
        ASSERT_EQ(pthread_attr_init(&attributes), 0);
        ASSERT_EQ(pthread_attr_setstack(&attributes, memory_ + page_, size_), 0);
        ASSERT_EQ(pthread_create(&thread, &attributes, work, &job), 0);
        ASSERT_EQ(pthread_join(thread, nullptr), 0);
        pthread_attr_destroy(&attributes);
    }

private:
    size_t page_, size_;
    uint8_t *memory_;
};

} // namespace

// What an operation is said to use, and what a thread needs for itself, is enough.
TEST_F(Resources, OperationsRunOnSmallStacks)
{
    const auto least = static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN));
    std::map<size_t, std::unique_ptr<ThreadStack>> stacks;
    const std::map<std::string, size_t> documented = documented_stack();
    for (const Operation &operation : operations.all) {
        SCOPED_TRACE(title(operation));
        operations.reset();
        operation.call();
        const Bytes expected = operation.result();
        operations.reset();
        const size_t size = least + documented.at(operation.name);
        std::unique_ptr<ThreadStack> &stack = stacks[size];
        if (!stack)
            stack = std::make_unique<ThreadStack>(size);
        Bytes result;
        Job job = {&operations, &operation, &result};
        stack->run(job);
        EXPECT_EQ(result, expected);
    }
}

TEST_F(Resources, NothingIsAllocated)
{
    // The stream that qalclear() writes to has got its buffer with the first line of this program.
    for (const Operation &operation : operations.all) {
        operations.reset();
        const Poison poison(operation.name.c_str());
        operation.call();
    }
}

TEST(ResourcesHarnessDeathTest, AllocationIsNoticed)
{
    const auto poisoned = [](auto allocate) {
        const Poison poison("something");
        void *volatile memory = allocate();
        (void)memory;
    };
    static void *volatile memory = std::malloc(10);
    EXPECT_DEATH(poisoned([] { return std::malloc(10); }), "something calls malloc");
    EXPECT_DEATH(poisoned([] { return std::calloc(10, 1); }), "something calls calloc");
    EXPECT_DEATH(poisoned([] { return std::realloc(memory, 20); }), "something calls realloc");
    EXPECT_DEATH(poisoned([] {
                     std::free(memory);
                     return nullptr;
                 }),
                 "something calls free");
    EXPECT_DEATH(poisoned([] { return std::aligned_alloc(64, 64); }),
                 "something calls aligned_alloc");
    EXPECT_DEATH(poisoned([] { return ::operator new(10); }), "something calls malloc");
    EXPECT_DEATH(poisoned([] { return sbrk(0); }), "something calls sbrk");
    EXPECT_DEATH(
        poisoned([] { return mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }),
        "something calls mmap");
    std::free(memory);
}
