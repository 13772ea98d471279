// Failures of the engine, made to happen inside the classes under test
// (--wrap).
#ifndef TVUREV_TESTS_UNIT_SNMP_PP_ENGINE_CALLS_H_
#define TVUREV_TESTS_UNIT_SNMP_PP_ENGINE_CALLS_H_

enum class EngineFault {
  kNone,
  kNoPdu,         // snmp_pdu_create has no memory
  kNoEnterprise,  // netsnmp_memdup has no memory
  kNoVariable,    // snmp_pdu_add_variable has no memory
  kBadBuild,      // snmp_build meets an enterprise that it refuses
};

// Holds from construction to destruction.
class EngineFaultScope {
 public:
  explicit EngineFaultScope(EngineFault fault);
  EngineFaultScope(const EngineFaultScope&) = delete;
  EngineFaultScope& operator=(const EngineFaultScope&) = delete;
  ~EngineFaultScope();
};

#endif  // TVUREV_TESTS_UNIT_SNMP_PP_ENGINE_CALLS_H_
