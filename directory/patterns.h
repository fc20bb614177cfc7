#pragma once
// The ways in which every question to the directory is asked, each written once: bind and read, the
// step to an object's parent, the walk over a container's children, the walk over an attribute's
// values, and the text of a time. What is particular to sites and their servers stands in sites.h.
// The trace scope is the asking operation's, so that messages carry its name. All may be called
// from any thread of the process's apartment; nothing is kept between calls.

#include <string>
#include <string_view>
#include <type_traits>

#include "directory/com.h"
#include "directory/result_codes.h"
#include "directory/text.h"
#include "include/platform/threads.h"
#include "include/platform/time.h"
#include "include/settings.h"
#include "include/trace.h"

namespace directory {

// Binds with the process's own credentials. Negative is failure, and so is a null reference.
HRESULT bind_object(const wchar_t* path, Reference<IADs>& object);
HRESULT bind_container(const wchar_t* path, Reference<IADsContainer>& container);

// Reads from the object's property cache, which the first read fills. Negative is failure.
HRESULT read(IADs* object, std::string_view attribute, Variant& value);
// The same into text; false, with nothing changed, when the attribute cannot be read.
bool read_text(IADs* object, std::string_view attribute, std::string& text);

// The same with the usual message at error level. 0 or ADSI_OBJECT_ERR.
int bind_or_trace(const trace::Scope& trace, const wchar_t* path, Reference<IADs>& object);
int read_or_trace(const trace::Scope& trace, IADs* object, std::string_view attribute,
                  std::string& text);
// The full path of the object's parent, as a path to bind.
int parent_or_trace(const trace::Scope& trace, IADs* object, std::string& path);

// What kept a container from being opened.
enum class OpenFailure { kNone, kBind, kEnumerator };
struct Opened {
  OpenFailure failure = OpenFailure::kNone;
  HRESULT result = S_OK;
};
// Binds the container and builds its enumerator; the container itself is let go at once.
Opened open_children(const wchar_t* path, Children& children);
// The usual messages and result of a container that could not be opened.
int report_open_failure(const trace::Scope& trace, const Opened& opened);

struct Walk {
  int yield_every = 10;              // children between two pauses of a millisecond; 0 for none
  bool yields_always = false;        // whatever g_sleepWhileIterating says
  const char* yield_text = nullptr;  // traced at error level at each pause
  bool traces_failed_child = true;   // the innermost walk does, an outer one goes on silently
  bool* failed_child = nullptr;      // set when a child could not be turned into an object
};

// Calls each(IADs*) for every child that can be turned into an object; a call that gives false ends
// the walk. Always ADSI_ENUM_END, however many children failed: a walk that got as far as its
// enumerator counts as done, and callers that loop depend on it.
template <typename Each>
int walk_children(const trace::Scope& trace, Children& children, const Walk& walk, Each&& each) {
  Variant child;
  for (int count = 1; children.next(child); ++count) {
    if (walk.yield_every != 0 && (walk.yields_always || g_sleepWhileIterating != 0) &&
        count % walk.yield_every == 0) {
      if (walk.yield_text != nullptr) trace.error()("%s", walk.yield_text);
      Sleep(1);
    }
    Reference<IADs> object;
    const HRESULT result = as_object(child, object);
    if (FAILED(result)) {
      if (walk.traces_failed_child) {
        trace.error()("ADsEnumerateNext Failed. Error number: %x\n", unsigned(result));
      }
      if (walk.failed_child != nullptr) *walk.failed_child = true;
      continue;
    }
    if constexpr (std::is_same_v<decltype(each(object.get())), bool>) {
      if (!each(object.get())) break;
    } else {
      each(object.get());
    }
  }
  return ADSI_ENUM_END;
}

// Opens the container and walks it; the usual messages and results when it cannot be opened.
template <typename Each>
int walk_container(const trace::Scope& trace, const wchar_t* path, const Walk& walk, Each&& each) {
  Children children;
  const Opened opened = open_children(path, children);
  if (opened.failure != OpenFailure::kNone) return report_open_failure(trace, opened);
  return walk_children(trace, children, walk, each);
}

// The messages of a walk over values; each takes the failing call's result.
struct ArrayMessages {
  const char* lower_bound = "SafeArrayGetLBound Failed. Error number: %x\n";
  const char* upper_bound = "SafeArrayGetUBound Failed. Error number: %x\n";
  const char* element = "SafeArrayGetElement Failed. Error number: %x\n";
  bool traces_bounds = false;  // whether the bounds themselves are traced
};

// The value at an index of the array held.
HRESULT element(const Variant& values, LONG index, Variant& value);
// The bounds of the array held; false, traced, when they cannot be had.
bool bounds(const trace::Scope& trace, const Variant& values, const ArrayMessages& messages,
            LONG& lower, LONG& upper);

// Calls each(const Variant&) for every value of the array held, which is destroyed afterwards; a
// call that gives false ends the walk. 0, or ADSI_OBJECT_ERR at the first value that cannot be
// read.
template <typename Each>
int walk_values(const trace::Scope& trace, Variant& values, const ArrayMessages& messages,
                Each&& each) {
  LONG lower = 0;
  LONG upper = -1;
  if (!bounds(trace, values, messages, lower, upper)) return ADSI_OBJECT_ERR;
  int outcome = 0;
  for (LONG index = lower; index <= upper && outcome == 0; ++index) {
    Variant value;
    const HRESULT result = element(values, index, value);
    if (FAILED(result)) {
      trace.error()(messages.element, unsigned(result));
      outcome = ADSI_OBJECT_ERR;
    } else if constexpr (std::is_same_v<decltype(each(value)), bool>) {
      if (!each(value)) break;
    } else {
      each(value);
    }
  }
  values.destroy_array();
  return outcome;
}

// A local time as "month/day/year  hours:minutes", the form that rows have it in.
std::string time_text(const SYSTEMTIME& local);

// The attribute's first value, a time, in that form. False, with nothing changed, when it cannot be
// read or is no time.
bool read_time_text(IADs* object, std::string_view attribute, std::string& text);

}  // namespace directory
