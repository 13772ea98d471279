// SPDX-License-Identifier: Apache-2.0
#include "network_calls.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace {

NetworkCalls* g_calls = nullptr;

std::string text_of(const sockaddr* address) {
  sockaddr_in ipv4{};
  std::memcpy(&ipv4, address, sizeof(ipv4));
  return std::string(inet_ntoa(ipv4.sin_addr)) + ":" + std::to_string(ntohs(ipv4.sin_port));
}

// One entry of a canned answer; freed by the wrapped freeaddrinfo.
struct Answer {
  addrinfo info{};
  sockaddr_in address{};
};

addrinfo* make_answers(const std::vector<std::string>& quads) {
  addrinfo* first = nullptr;
  for (auto quad = quads.rbegin(); quad != quads.rend(); ++quad) {
    auto answer = std::make_unique<Answer>();
    answer->address.sin_family = AF_INET;
    EXPECT_EQ(inet_pton(AF_INET, quad->c_str(), &answer->address.sin_addr), 1);
    answer->info.ai_family = AF_INET;
    answer->info.ai_addrlen = sizeof(sockaddr_in);
    answer->info.ai_addr = reinterpret_cast<sockaddr*>(&answer->address);
    answer->info.ai_next = first;
    first = &answer.release()->info;
  }
  return first;
}

}  // namespace

NetworkCalls::NetworkCalls() {
  EXPECT_EQ(g_calls, nullptr);
  g_calls = this;
}

NetworkCalls::~NetworkCalls() {
  g_calls = nullptr;
}

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl51-cpp): the linker's names.
extern "C" {
int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol);
int __real_bind(int fd, const sockaddr* address, socklen_t size);
int __wrap_bind(int fd, const sockaddr* address, socklen_t size);
ssize_t __real_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size);
ssize_t __wrap_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size);
int __real_close(int fd);
int __wrap_close(int fd);
int __wrap_getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                       addrinfo** result);
void __wrap_freeaddrinfo(addrinfo* result);
int __wrap_gethostname(char* name, size_t size);

int __wrap_socket(int domain, int type, int protocol) {
  if (g_calls == nullptr) {
    return __real_socket(domain, type, protocol);
  }
  g_calls->calls.emplace_back("socket");
  if (g_calls->socket_error != 0) {
    errno = g_calls->socket_error;
    return -1;
  }
  return __real_socket(domain, type, protocol);
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t size) {
  if (g_calls == nullptr) {
    return __real_bind(fd, address, size);
  }
  g_calls->calls.push_back("bind " + text_of(address));
  if (g_calls->bind_error != 0) {
    errno = g_calls->bind_error;
    return -1;
  }
  return g_calls->swallow ? 0 : __real_bind(fd, address, size);
}

ssize_t __wrap_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size) {
  if (g_calls == nullptr) {
    return __real_sendto(fd, data, size, flags, address, address_size);
  }
  g_calls->calls.push_back("sendto " + text_of(address));
  g_calls->close_on_exec = (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
  const auto* octets = static_cast<const unsigned char*>(data);
  g_calls->sent.assign(octets, octets + size);
  if (g_calls->send_error != 0) {
    errno = g_calls->send_error;
    return -1;
  }
  return g_calls->swallow ? static_cast<ssize_t>(size)
                          : __real_sendto(fd, data, size, flags, address, address_size);
}

int __wrap_close(int fd) {
  if (g_calls != nullptr) {
    g_calls->calls.emplace_back("close");
  }
  return __real_close(fd);
}

int __wrap_getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                       addrinfo** result) {
  *result = nullptr;
  if (g_calls == nullptr) {
    ADD_FAILURE() << "look-up of " << name << " that no test asked for";
    return EAI_NONAME;
  }
  EXPECT_EQ(service, nullptr);
  EXPECT_EQ(hints->ai_family, AF_INET);
  g_calls->look_ups.emplace_back(name);
  const auto answer = g_calls->names.find(name);
  if (answer == g_calls->names.end()) {
    return EAI_NONAME;
  }
  *result = make_answers(answer->second);
  return 0;
}

void __wrap_freeaddrinfo(addrinfo* result) {
  while (result != nullptr) {
    addrinfo* const next = result->ai_next;
    delete reinterpret_cast<Answer*>(result);
    result = next;
  }
}

int __wrap_gethostname(char* name, size_t size) {
  if (g_calls == nullptr || g_calls->host_name.empty() || g_calls->host_name.size() >= size) {
    errno = ENAMETOOLONG;
    return -1;
  }
  std::memcpy(name, g_calls->host_name.c_str(), g_calls->host_name.size() + 1);
  return 0;
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl51-cpp)
