#pragma once
// What the tests of the platform's kernel share.

#include <functional>
#include <memory>
#include <string>

#include "platform/control.h"
#include "platform/threads.h"

namespace kernel_test {

// A thread that runs a function; the handle is closed with it.
class TestThread {
 public:
  explicit TestThread(std::function<unsigned()> body)
      : body_(std::make_unique<std::function<unsigned()>>(std::move(body))) {
    handle_ = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, 0, &TestThread::run, body_.get(), 0, &id_));
  }
  ~TestThread() {
    WaitForSingleObject(handle_, INFINITE);
    CloseHandle(handle_);
  }
  TestThread(const TestThread&) = delete;
  TestThread& operator=(const TestThread&) = delete;

  HANDLE handle() const { return handle_; }
  unsigned id() const { return id_; }
  DWORD exit_code() const {
    DWORD code = 0;
    GetExitCodeThread(handle_, &code);
    return code;
  }

 private:
  static unsigned run(void* body) { return (*static_cast<std::function<unsigned()>*>(body))(); }

  std::unique_ptr<std::function<unsigned()>> body_;
  HANDLE handle_ = nullptr;
  unsigned id_ = 0;
};

// A controller that has nothing but the facts of its machine.
class BareController : public platform::Controller {
 public:
  std::string description() const override { return "bare"; }
  const platform::MachineFacts& machine() const override { return facts; }
  platform::Directory* directory() override { return nullptr; }
  platform::CounterSource* counters() override { return nullptr; }
  platform::RegistryHive* registry() override { return nullptr; }

  platform::MachineFacts facts;
};

}  // namespace kernel_test
