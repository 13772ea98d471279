#include "ortinv/variables.h"

#include "bmc/channel.h"
#include "bmc/nvram.h"
#include "wire/kcs.h"

const char* ortinv_mode_variable() {
  return nvram::kRevModeVariable;
}

const char* ortinv_interval_variable(int selector) {
  switch (selector) {
    case 10:
      return nvram::kInterval10Variable;
    case 9:
      return nvram::kInterval9Variable;
    case 8:
      return nvram::kInterval8Variable;
    default:
      return nullptr;
  }
}

int ortinv_read_variable(const char* name, uint8_t* value, uint16_t capacity, uint16_t* length,
                         uint8_t* status) {
  uint16_t filled = 0;
  uint8_t answer = nvram::response::kSuccess;
  int result = kOrtinvReadNoChannel;
  const int fd = mox_chrdev(nullptr);
  if (fd != -1) {
    if (OsGetEV(fd, name, value, capacity, &answer, &filled) != 0) {
      result = kOrtinvReadNoAnswer;
    } else if (answer == nvram::response::kSuccess) {
      result = kOrtinvReadThere;
    } else if (answer == nvram::response::kNotFound) {
      result = kOrtinvReadMissing;
    } else {
      result = kOrtinvReadRefused;
    }
    close_channel(fd);
  }
  if (length != nullptr) {
    *length = filled;
  }
  if (status != nullptr) {
    *status = answer;
  }
  return result;
}
