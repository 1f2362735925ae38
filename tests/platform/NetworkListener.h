// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <atomic>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace test {

/// A server on this machine that counts those who connect to it and sends them away.
class NetworkListener {
public:
  NetworkListener() : mSocket(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const general = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(mSocket, general, size), 0);
    EXPECT_EQ(::listen(mSocket, 16), 0);
    EXPECT_EQ(::getsockname(mSocket, general, &size), 0);
    mPort = ntohs(address.sin_port);
    mThread = std::thread([this] {
      for (int peer = ::accept(mSocket, nullptr, nullptr); peer >= 0; peer = ::accept(mSocket, nullptr, nullptr)) {
        ++mConnections;
        ::close(peer);
      }
    });
  }
  ~NetworkListener() {
    ::shutdown(mSocket, SHUT_RDWR);
    mThread.join();
    ::close(mSocket);
  }
  NetworkListener(NetworkListener const&) = delete;
  NetworkListener& operator=(NetworkListener const&) = delete;

  std::string address() const { return "http://127.0.0.1:" + std::to_string(mPort); }
  int connections() const { return mConnections; }

private:
  int mSocket;
  int mPort = 0;
  std::atomic<int> mConnections{0};
  std::thread mThread;
};

}  // namespace test
