// Counts over a whole domain, made by one paged query through the query layer (ADO).

#include <array>
#include <string>

#include "directory/automation.h"
#include "directory/dns_utils.h"
#include "directory/patterns.h"

using directory::Argument;
using directory::AutomationError;
using directory::AutomationObject;

namespace {

constexpr CLSID ado_class(unsigned long number) {
  return {static_cast<decltype(CLSID::Data1)>(number),
          0x0000,
          0x0010,
          {0x80, 0x00, 0x00, 0xAA, 0x00, 0x6D, 0x2E, 0xA4}};
}
constexpr CLSID kCommandClass = ado_class(0x507);
constexpr CLSID kConnectionClass = ado_class(0x514);
constexpr CLSID kRecordsetClass = ado_class(0x535);

constexpr std::int32_t kOptionsUnspecified = -1;
constexpr std::int32_t kCommandIsText = 1;
constexpr std::int32_t kStateOpen = 1;
constexpr std::int32_t kTimeout_s = 30;
constexpr std::int32_t kPageSize = 1000;

// What tells the two counts apart.
struct Question {
  const wchar_t* rest_of_command;  // behind the domain's name
  bool tests_creation;  // a failed creation is told by the result; else by the calls that follow
  int yield_every;
  bool yields_always;
};

// Empty, traced, when the domain's own context cannot be read.
std::string read_domain(const trace::Scope& trace) {
  directory::Reference<IADs> root;
  if (FAILED(directory::bind_object(L"LDAP://RootDSE", root)) || !root) {
    trace.detail()("Error: Unable to get object");
    return {};
  }
  std::string context;
  if (!directory::read_text(root.get(), "defaultNamingContext", context)) {
    trace.detail()("Error: Unable to fetch defaultNamingContext attribute value");
  }
  return context;
}

// At most 259 characters.
std::wstring command_text(const trace::Scope& trace, const std::string& context,
                          const Question& question) {
  std::array<wchar_t, 260> text{};
  const std::wstring form = std::wstring(L"<LDAP://%S") + question.rest_of_command;
  directory::format_path(trace, text, form, {context});
  return text.data();
}

// Counts the records that are left. Only here is a failure of the layer kept from the caller: the
// number reached stands.
std::int32_t count_records(const trace::Scope& trace, AutomationObject& records,
                           const Question& question) {
  std::int32_t count = 0;
  try {
    while (!records.flag(L"EOF")) {
      ++count;
      if ((question.yields_always || g_sleepWhileIterating != 0) &&
          count % question.yield_every == 0) {
        Sleep(1);
      }
      if (records.call(L"MoveNext") != S_OK) break;
    }
  } catch (const AutomationError&) {
    trace.always()("Error: Exeception is thrown");
  }
  return count;
}

// The three objects of a query; closes what is open on every way out.
class Query {
 public:
  Query() = default;
  ~Query() {
    close(records_);
    close(connection_);
  }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  // False, traced, when the question has creations tested and one fails.
  bool prepare(const trace::Scope& trace, const Question& question) {
    const auto failed = [&](const char* message, HRESULT result) {
      if (SUCCEEDED(result) || !question.tests_creation) return false;
      trace.always()(message, unsigned(result));
      return true;
    };
    if (failed("Connection Creation Failed: %x", connection_.create(kConnectionClass))) {
      return false;
    }
    connection_.put(L"Provider", Argument(L"ADsDSOObject"));
    const Argument source(L"Active Directory Provider");
    const Argument user(L"");
    const Argument password(L"");
    const Argument options(kOptionsUnspecified);
    connection_.call(L"Open", {&source, &user, &password, &options});
    if (failed("Recordset Creation Failed: %x", records_.create(kRecordsetClass))) return false;
    return !failed("Command Creation Failed: %x", command_.create(kCommandClass));
  }

  // Gives the records, which are only counted: no column is read from them.
  AutomationObject& execute(const std::wstring& text) {
    connection_.object(L"Properties").call(L"Refresh");
    command_.put_reference(L"ActiveConnection", connection_);
    command_.put(L"CommandText", Argument(text.c_str()));
    command_.put(L"CommandTimeout", Argument(kTimeout_s));
    AutomationObject properties = command_.object(L"Properties");
    properties.call(L"Refresh");
    set(properties, L"Cache Results", Argument(false));
    set(properties, L"Page size", Argument(kPageSize));
    const Argument affected{Argument::Missing()};
    const Argument parameters{Argument::Missing()};
    const Argument options(kCommandIsText);
    command_.call_for_object(L"Execute", {&affected, &parameters, &options}, records_);
    return records_;
  }

 private:
  static void set(AutomationObject& properties, const wchar_t* name, const Argument& value) {
    const Argument index(name);
    properties.object(L"Item", {&index}).put(L"Value", value);
  }
  // What cannot be closed is let go all the same.
  static void close(AutomationObject& object) {
    try {
      if (object && object.number(L"State") == kStateOpen) object.call(L"Close");
    } catch (const AutomationError& error) {
      DCW_TRACE("Query::close");
      trace.error()("%s", error.what());
    }
  }

  AutomationObject connection_;
  AutomationObject command_;
  AutomationObject records_;
};

int count_domain(const trace::Scope& trace, const Question& question, std::int32_t& count) {
  count = 0;
  const std::string context = read_domain(trace);
  if (context.empty()) return -1;
  Query query;
  if (!query.prepare(trace, question)) return -1;
  AutomationObject& records = query.execute(command_text(trace, context, question));
  if (records.number(L"State") == kStateOpen) count = count_records(trace, records, question);
  return 0;
}

}  // namespace

int DNSUtils::GetNumberOfUsersLocked(std::int32_t& count) {
  DCW_TRACE("GetNumberOfUsersLocked");
  static constexpr Question kLockedUsers{
      L">;(&(objectCategory=person)(objectClass=user)(&(lockoutTime>=1)));name;SubTree", true, 50,
      false};
  return trace.returns(count_domain(trace, kLockedUsers, count));
}

int DNSUtils::GetNumberOfObjectsInDomain(std::int32_t& count) {
  DCW_TRACE("GetNumberOfObjectsInDomain");
  // A connection that could not be made fails at the first call of it, which throws.
  static constexpr Question kObjects{L">;(objectCategory=*);sAMAccountName,ADsPath,name;SubTree",
                                     false, 100, true};
  return trace.returns(count_domain(trace, kObjects, count));
}
