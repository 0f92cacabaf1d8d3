// Setting up the libraries to compare with.
#pragma once

#if QAL_BENCH_CRYPTO
#include <openssl/engine.h>
#include <openssl/evp.h>
#endif

namespace qal::bench {

// Once, before any contender runs.
void set_up_peers();

#if QAL_BENCH_CRYPTO
// OpenSSL's packaged engine of the GOST algorithms; null where it is not installed.
ENGINE *gost_engine();
#endif

} // namespace qal::bench
