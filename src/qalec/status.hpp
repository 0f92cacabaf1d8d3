// What rds_ and vko341001_ operations answer, as rds.h describes it.
#ifndef QAL_QALEC_STATUS_HPP
#define QAL_QALEC_STATUS_HPP

namespace qal::ec {

enum Status : int {
    ok = 0,
    bad_signature = 1,
    bad_secret = 2,
    bad_curve = 3,
    bad_base_point = 4,
    bad_public_key = 5,
    bad_private_key = 6,
    null_pointer = 7,
    bad_order = 8,
    bad_keying_material = 9,
};

} // namespace qal::ec

#endif
