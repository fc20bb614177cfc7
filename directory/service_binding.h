#pragma once
// A binding to a controller's directory service, given back when it goes.

#include "include/collection_status.h"
#include "include/platform/directory_services.h"

namespace directory {

class ServiceBinding {
 public:
  ServiceBinding() = default;
  ~ServiceBinding() { release(); }
  ServiceBinding(const ServiceBinding&) = delete;
  ServiceBinding& operator=(const ServiceBinding&) = delete;

  // The platform's status; 0 is success.
  DWORD bind(const char* controller, const char* domain) {
    release();
    status::step("binds to", controller != nullptr ? controller : "a controller");
    return DsBindA(controller, domain, &handle_);
  }
  void release() {
    if (handle_ != nullptr) DsUnBindA(&handle_);
    handle_ = nullptr;
  }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace directory
