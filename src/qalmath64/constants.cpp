// The numbers that have names.
#include <qal/qalmath64.h>

const qald QALBIG_ZERO[1] = {0};
const qald QALBIG_ONE[2] = {1, 1};
const qald QALBIG_TWO[2] = {1, 2};
const qald QALBIG_THREE[2] = {1, 3};
