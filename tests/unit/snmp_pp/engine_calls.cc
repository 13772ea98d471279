#include "engine_calls.h"

// Net-SNMP wants its configuration first.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace {

EngineFault g_fault = EngineFault::kNone;

}  // namespace

EngineFaultScope::EngineFaultScope(EngineFault fault) {
  g_fault = fault;
}
EngineFaultScope::~EngineFaultScope() {
  g_fault = EngineFault::kNone;
}

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl51-cpp): the linker's names.
extern "C" {
netsnmp_pdu* __real_snmp_pdu_create(int type);
netsnmp_pdu* __wrap_snmp_pdu_create(int type);
void* __real_netsnmp_memdup(const void* from, size_t size);
void* __wrap_netsnmp_memdup(const void* from, size_t size);
netsnmp_variable_list* __real_snmp_pdu_add_variable(netsnmp_pdu* pdu, const oid* name,
                                                    size_t name_length, u_char type,
                                                    const void* value, size_t size);
netsnmp_variable_list* __wrap_snmp_pdu_add_variable(netsnmp_pdu* pdu, const oid* name,
                                                    size_t name_length, u_char type,
                                                    const void* value, size_t size);
int __real_snmp_build(u_char** buffer, size_t* size, size_t* used, netsnmp_session* session,
                      netsnmp_pdu* pdu);
int __wrap_snmp_build(u_char** buffer, size_t* size, size_t* used, netsnmp_session* session,
                      netsnmp_pdu* pdu);

netsnmp_pdu* __wrap_snmp_pdu_create(int type) {
  return g_fault == EngineFault::kNoPdu ? nullptr : __real_snmp_pdu_create(type);
}

void* __wrap_netsnmp_memdup(const void* from, size_t size) {
  return g_fault == EngineFault::kNoEnterprise ? nullptr : __real_netsnmp_memdup(from, size);
}

netsnmp_variable_list* __wrap_snmp_pdu_add_variable(netsnmp_pdu* pdu, const oid* name,
                                                    size_t name_length, u_char type,
                                                    const void* value, size_t size) {
  return g_fault == EngineFault::kNoVariable
             ? nullptr
             : __real_snmp_pdu_add_variable(pdu, name, name_length, type, value, size);
}

int __wrap_snmp_build(u_char** buffer, size_t* size, size_t* used, netsnmp_session* session,
                      netsnmp_pdu* pdu) {
  if (g_fault == EngineFault::kBadBuild) {
    pdu->enterprise[0] = 3;
  }
  return __real_snmp_build(buffer, size, used, session, pdu);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl51-cpp)
