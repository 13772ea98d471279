// SPDX-License-Identifier: Apache-2.0
// A path that a program which uses the library may set to another one. Internal
// to this folder.
#ifndef TVUREV_HOSTINFO_SETTABLE_PATH_H_
#define TVUREV_HOSTINFO_SETTABLE_PATH_H_

#include <array>
#include <cstddef>
#include <string_view>

class SettablePath {
 public:
  // usual is a constant text.
  constexpr explicit SettablePath(const char* usual) : usual_(usual) {}

  const char* get() const { return is_set_ ? text_.data() : usual_; }

  // Copies path, and end behind it unless the path ends so already; null sets
  // the usual path. Returns false, and changes nothing, for a path that is empty
  // or does not fit.
  bool set(const char* path, std::string_view end = "") {
    if (path == nullptr) {
      is_set_ = false;
      return true;
    }
    const std::string_view start(path);
    const std::string_view rest = start.ends_with(end) ? "" : end;
    if (start.empty() || start.size() + rest.size() >= text_.size()) {
      return false;
    }
    std::array<char, kSize> text = {};
    start.copy(text.data(), start.size());
    rest.copy(text.data() + start.size(), rest.size());
    text_ = text;
    is_set_ = true;
    return true;
  }

 private:
  static constexpr size_t kSize = 256;

  const char* usual_;
  bool is_set_ = false;
  std::array<char, kSize> text_ = {};
};

#endif  // TVUREV_HOSTINFO_SETTABLE_PATH_H_
