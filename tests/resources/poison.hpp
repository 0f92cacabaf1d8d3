// Allocation that ends the program for a while: this program's own malloc, mmap and the like stand
// before those of the C library.
#ifndef QAL_TESTS_RESOURCES_POISON_HPP
#define QAL_TESTS_RESOURCES_POISON_HPP

namespace qal::test {

class Poison {
public:
    // Until the end of this object, whoever allocates or frees is reported under this name.
    explicit Poison(const char *culprit);
    Poison(const Poison &) = delete;
    Poison &operator=(const Poison &) = delete;
    ~Poison();
};

} // namespace qal::test

#endif
