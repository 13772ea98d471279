// SPDX-License-Identifier: Apache-2.0
// What one command line asks for. Texts are as they were typed, and have passed
// the checks of their row in the table of commands; empty where nothing was said.
#ifndef TVUREV_ORTINV_REQUEST_H_
#define TVUREV_ORTINV_REQUEST_H_

#include <string>

struct Request {
  // Of every command.
  bool json = false;
  bool json_lines = false;
  std::string timeout;

  // Where the SMBIOS table is read from; empty: from the host's device.
  std::string dump;

  // smbios
  bool list = false;
  bool raw = false;
  std::string types;  // numbers and key words, joined by commas or line ends
  std::string handle;
  std::string keyword;

  std::string pci_address;
  std::string serial;
  bool exact = false;
  std::string package;
  std::string mode;
  std::string selector;
  std::string interval;
  bool write = false;

  // diff
  std::string before;
  std::string after;

  bool wants_text() const { return !json && !json_lines; }
  // Whether the answer is about what a file holds, and not about this host.
  bool is_about_dump() const { return !dump.empty(); }
};

#endif  // TVUREV_ORTINV_REQUEST_H_
