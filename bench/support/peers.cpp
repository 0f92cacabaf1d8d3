#include "support/peers.hpp"

#if QAL_BENCH_GCRYPT
#include <gcrypt.h>
#endif

namespace qal::bench {

#if QAL_BENCH_CRYPTO
ENGINE *gost_engine()
{
    static ENGINE *const engine = [] {
        ENGINE_load_builtin_engines();
        ENGINE *found = ENGINE_by_id("gost");
        if (found && (!ENGINE_init(found) || !ENGINE_set_default(found, ENGINE_METHOD_ALL)))
            found = nullptr;
        return found;
    }();
    return engine;
}
#endif

void set_up_peers()
{
#if QAL_BENCH_GCRYPT
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
#endif
#if QAL_BENCH_CRYPTO
    gost_engine();
#endif
}

} // namespace qal::bench
