/**
 * @file
 * All of qal.
 */
#ifndef QAL_QAL_H
#define QAL_QAL_H

#include <qal/api.h>
#include <qal/dhua.h>
#include <qal/dstu.h>
#include <qal/g28147.h>
#include <qal/gr341194.h>
#include <qal/kuzn.h>
#include <qal/qal2poly.h>
#include <qal/qale2.h>
#include <qal/qalec.h>
#include <qal/qalmath64.h>
#include <qal/qalpff.h>
#include <qal/rds.h>
#include <qal/rsa.h>
#include <qal/streebog.h>
#include <qal/vko341001.h>

#endif
