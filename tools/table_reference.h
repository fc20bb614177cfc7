#pragma once
// The reference page of all tables, docs/tables.md, made from the catalogue.

#include <string>

std::string table_reference();
