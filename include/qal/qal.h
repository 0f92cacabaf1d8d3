/**
 * @file
 * All of qal.
 */
#ifndef QAL_QAL_H
#define QAL_QAL_H

#include <qal/api.h>
#include <qal/kuzn.h>
#include <qal/streebog.h>

#endif
