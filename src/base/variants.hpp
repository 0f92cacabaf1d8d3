// Lists of dispatched routines, and the declarations that come from them.
//
// A family's list has a line V(routine, class...) for each routine that is bound to one of several
// variants: the classes of the variants, the widest first and `portable` last. The variant of a
// class is routine_class; what it needs of the processor is base::needs_class (cpu.hpp).
#ifndef QAL_BASE_VARIANTS_HPP
#define QAL_BASE_VARIANTS_HPP

// F(routine, class) for each class.
#define QAL_EACH_VARIANT(F, routine, isa, ...)                                                     \
    F(routine, isa) __VA_OPT__(; QAL_EACH_VARIANT_2(F, routine, __VA_ARGS__))
#define QAL_EACH_VARIANT_2(F, routine, isa, ...)                                                   \
    F(routine, isa) __VA_OPT__(; QAL_EACH_VARIANT_3(F, routine, __VA_ARGS__))
#define QAL_EACH_VARIANT_3(F, routine, isa, ...)                                                   \
    F(routine, isa) __VA_OPT__(; QAL_EACH_VARIANT_4(F, routine, __VA_ARGS__))
#define QAL_EACH_VARIANT_4(F, routine, isa) F(routine, isa)

// Declares the variants of a routine that is declared already; its contract is theirs.
#define QAL_DECLARE_VARIANT(routine, isa)                                                          \
    [[gnu::visibility("hidden")]] decltype(routine) routine##_##isa
#define QAL_DECLARE_VARIANTS(routine, ...)                                                         \
    QAL_EACH_VARIANT(QAL_DECLARE_VARIANT, routine, __VA_ARGS__)

#endif
