// What the operations answer.
#ifndef QAL_RSA_QALRSAEX_STATUS_HPP
#define QAL_RSA_QALRSAEX_STATUS_HPP

namespace qal::rsa {

enum Status : int {
    success = 0,
    size_not_permitted = 1,
    bad_argument = 2,
    call_again = 3,
    too_little_randomness = 4,
    output_too_small = 5,
    wrong_signature = 6,
    bad_message_length = 7,
};

} // namespace qal::rsa

#endif
