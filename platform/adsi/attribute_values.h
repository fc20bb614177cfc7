#pragma once
// Attribute values as COM values, and back.

#include <string>
#include <vector>

#include "include/platform/adsi.h"
#include "platform/adsi/attribute_syntax.h"

namespace platform {

// The syntax that an attribute's values are shown by: the table's, or octets where a text value is
// not UTF-8. Values of the root object are always text.
AttributeSyntax shown_syntax(const std::string& name, const std::vector<std::string>& values);

// The value belongs to the caller. E_ADS_CANT_CONVERT_DATATYPE where a value does not fit its
// syntax; variant is then left alone.
HRESULT make_value(const std::string& value, AttributeSyntax syntax, VARIANT& variant);
// An array of variants, counted from 0.
HRESULT make_array(const std::vector<std::string>& values, AttributeSyntax syntax,
                   VARIANT& variant);
BSTR make_text(const std::string& utf8);

// What a caller hands to Put: one value, or an array of them.
HRESULT values_from_variant(const VARIANT& variant, std::vector<std::string>& values);
std::string text_from_bstr(BSTR text);

}  // namespace platform
