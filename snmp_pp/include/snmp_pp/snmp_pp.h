// SPDX-License-Identifier: Apache-2.0
// The umbrella of the SNMP++ class interface: programs include this header and
// no other one of the folder.
//
//     #include <snmp_pp/snmp_pp.h>
//     namespace Snmp_pp {}
//     using namespace Snmp_pp;
//
// compiles with these classes, which leave the encoding to Net-SNMP, and with
// an installed SNMP++, with or without a name space of its own.
#ifndef SNMP_PP_SNMP_PP_H_
#define SNMP_PP_SNMP_PP_H_

#include "snmp_pp/address.h"
#include "snmp_pp/config_snmp_pp.h"
#include "snmp_pp/integer.h"
#include "snmp_pp/octet.h"
#include "snmp_pp/oid.h"
#include "snmp_pp/oid_def.h"
#include "snmp_pp/pdu.h"
#include "snmp_pp/smi.h"
#include "snmp_pp/smival.h"
#include "snmp_pp/snmperrs.h"
#include "snmp_pp/target.h"
#include "snmp_pp/timetick.h"
#include "snmp_pp/uxsnmp.h"
#include "snmp_pp/vb.h"

#endif  // SNMP_PP_SNMP_PP_H_
