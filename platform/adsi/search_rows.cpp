#include "platform/adsi/search_rows.h"

#include <charconv>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/adsi/attribute_values.h"
#include "platform/adsi/counts.h"
#include "platform/adsi/directory_time.h"
#include "platform/adsi/wide_text.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

// What a column's values point into. The column's reserved handle is its address.
struct ColumnStorage {
  std::wstring name;
  std::vector<std::wstring> texts;
  std::vector<std::string> octets;
  std::vector<ADSVALUE> values;
};

template <typename Number>
bool read_number(const std::string& text, Number& number) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

HRESULT make_text_value(ColumnStorage& storage, const std::string& text, ADSTYPE type,
                        ADSVALUE& value) {
  storage.texts.push_back(wide_text(text));
  value.dwType = type;
  value.CaseIgnoreString = storage.texts.back().data();
  return S_OK;
}

HRESULT make_octet_value(ColumnStorage& storage, const std::string& bytes, ADSVALUE& value) {
  storage.octets.push_back(bytes);
  value.dwType = ADSTYPE_OCTET_STRING;
  value.OctetString.dwLength = static_cast<DWORD>(bytes.size());
  value.OctetString.lpValue = reinterpret_cast<LPBYTE>(storage.octets.back().data());
  return S_OK;
}

HRESULT make_time_value(const std::string& text, ADSVALUE& value) {
  const std::optional<double> date = date_from_directory_time(text);
  if (!date || !VariantTimeToSystemTime(*date, &value.UTCTime)) {
    return E_ADS_CANT_CONVERT_DATATYPE;
  }
  value.dwType = ADSTYPE_UTC_TIME;
  return S_OK;
}

HRESULT make_column_value(ColumnStorage& storage, const std::string& text, AttributeSyntax syntax,
                          ADSTYPE text_type, ADSVALUE& value) {
  std::int32_t integer = 0;
  std::int64_t large = 0;
  switch (syntax) {
    case AttributeSyntax::kText:
      return make_text_value(storage, text, text_type, value);
    case AttributeSyntax::kOctets:
      return make_octet_value(storage, text, value);
    case AttributeSyntax::kTime:
      return make_time_value(text, value);
    case AttributeSyntax::kInteger:
      if (!read_number(text, integer)) return E_ADS_CANT_CONVERT_DATATYPE;
      value.dwType = ADSTYPE_INTEGER;
      value.Integer = static_cast<DWORD>(integer);
      return S_OK;
    case AttributeSyntax::kBoolean:
      value.dwType = ADSTYPE_BOOLEAN;
      value.Boolean = equal_without_case(text, "TRUE") ? 1 : 0;
      return S_OK;
    case AttributeSyntax::kObject:
      if (!read_number(text, large)) return make_octet_value(storage, text, value);
      value.dwType = ADSTYPE_LARGE_INTEGER;
      value.LargeInteger.QuadPart = large;
      return S_OK;
  }
  return E_ADS_CANT_CONVERT_DATATYPE;
}

// Where the bracket at start closes; the end of the filter where it does not.
std::size_t closing_bracket(std::string_view filter, std::size_t start) {
  int depth = 0;
  for (std::size_t i = start; i < filter.size(); ++i) {
    if (filter[i] == '(') ++depth;
    if (filter[i] == ')' && --depth == 0) return i;
  }
  return filter.size();
}

}  // namespace

std::string plain_filter(std::string_view filter) {
  while (filter.starts_with("((") && closing_bracket(filter, 0) == filter.size() - 1 &&
         closing_bracket(filter, 1) == filter.size() - 2) {
    filter = filter.substr(1, filter.size() - 2);
  }
  return std::string(filter);
}

SearchRows::SearchRows(std::shared_ptr<Controller> controller, std::unique_ptr<EntryCursor> cursor)
    : controller_(std::move(controller)), cursor_(std::move(cursor)) {
  live_searches.add();
}

SearchRows::~SearchRows() { live_searches.remove(); }

HRESULT SearchRows::next() {
  has_row_ = false;
  row_ = {};
  if (cursor_ == nullptr) return S_ADS_NOMORE_ROWS;
  const DirectoryResult result = cursor_->next(row_);
  if (result == kDirectoryEnd) return S_ADS_NOMORE_ROWS;
  has_row_ = result == kDirectoryOk;
  return result;
}

HRESULT SearchRows::column(const std::string& name, ADS_SEARCH_COLUMN& column) const {
  if (!has_row_) return E_ADS_BAD_PARAMETER;
  const Attribute* attribute = row_.find(name);
  if (attribute == nullptr || attribute->values.empty()) return E_ADS_COLUMN_NOT_SET;
  auto storage = std::make_unique<ColumnStorage>();
  const std::size_t count = attribute->values.size();
  // Values point into these, which therefore must not move.
  storage->texts.reserve(count);
  storage->octets.reserve(count);
  storage->values.resize(count);
  storage->name = wide_text(name);
  const AttributeSyntax syntax = shown_syntax(attribute->name, attribute->values);
  const ADSTYPE text_type = equal_without_case(name, "distinguishedName")
                                ? ADSTYPE_DN_STRING
                                : ADSTYPE_CASE_IGNORE_STRING;
  for (std::size_t i = 0; i < count; ++i) {
    const HRESULT result =
        make_column_value(*storage, attribute->values[i], syntax, text_type, storage->values[i]);
    if (FAILED(result)) return result;
  }
  column.pszAttrName = storage->name.data();
  column.dwADsType = storage->values.front().dwType;
  column.pADsValues = storage->values.data();
  column.dwNumValues = static_cast<DWORD>(count);
  column.hReserved = storage.release();
  live_columns.add();
  return S_OK;
}

void free_column(ADS_SEARCH_COLUMN& column) {
  if (column.hReserved == nullptr) return;
  delete static_cast<ColumnStorage*>(column.hReserved);
  column = {};
  live_columns.remove();
}

}  // namespace platform
