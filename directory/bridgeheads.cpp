#include "directory/bridgeheads.h"

#include "directory/patterns.h"
#include "tables/ckutil.h"

namespace directory {
namespace {

bool names(const trace::Scope& trace, const Variant& value, char* server) {
  const std::string bridgehead = text_of(value);
  trace.detail()("BridgeHead Server: %s\n", bridgehead.c_str());
  CKUtil::upper(server, static_cast<std::int32_t>(view(server).size()));
  if (bridgehead.find(view(server)) == bridgehead.npos) return false;
  trace.always()("Bridgehead Server Found");
  return true;
}

}  // namespace

int count_bridgeheads(const trace::Scope& trace, Variant& list, std::int32_t& count) {
  if (list.type() == VT_ARRAY) {
    LONG upper = -1;
    const HRESULT result = SafeArrayGetUBound(list.array(), 1, &upper);
    list.destroy_array();
    if (FAILED(result)) {
      trace.error()("Error : SafeArrayGetUBound failed");
      trace.error()("Error Number : %x\n", unsigned(result));
      return ADSI_OBJECT_ERR;
    }
    count = upper + 1;
  } else {
    count = list.type() == VT_BSTR ? 1 : 0;
  }
  return 0;
}

int find_bridgehead(const trace::Scope& trace, Variant& list, char* server, bool& found) {
  found = false;
  if (list.type() == VT_BSTR) found = names(trace, list, server);
  if (list.type() != VT_ARRAY) return 0;
  constexpr ArrayMessages kMessages{
      "Error : SafeArrayGetLBound failed. Error Number : %x\n",
      "Error : SafeArrayGetUBound failed. Error Number : %x\n",
      "Error : SafeArrayGetElement failed. Error Number : %x\n",
  };
  return walk_values(trace, list, kMessages, [&](const Variant& value) {
    found = names(trace, value, server);
    return !found;
  });
}

}  // namespace directory
