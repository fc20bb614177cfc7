#pragma once
// The children of a container behind IEnumVARIANT. Each comes with its attributes, so that reading
// it costs nothing more.

#include <atomic>
#include <memory>
#include <string>

#include "include/platform/adsi.h"
#include "platform/controller.h"

namespace platform {

class ChildEnumerator final : public IEnumVARIANT {
 public:
  ChildEnumerator(std::shared_ptr<Controller> controller, std::string server,
                  std::unique_ptr<EntryCursor> cursor);
  ChildEnumerator(const ChildEnumerator&) = delete;
  ChildEnumerator& operator=(const ChildEnumerator&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // A failure hands out nothing, also where some of the children had come.
  HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* values, ULONG* fetched) override;
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
  // A walk through a directory runs once.
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) override;

 private:
  ~ChildEnumerator() = default;

  const std::shared_ptr<Controller> controller_;
  const std::string server_;
  const std::unique_ptr<EntryCursor> cursor_;
  std::atomic<ULONG> references_{1};
};

}  // namespace platform
