#pragma once
// Where rows leave the framework: the latest rows of every table, the sinks, and the measures.

#include <cstdint>
#include <memory>
#include <string>

#include "framework/xaf/control.h"
#include "framework/xaf/row_store.h"

namespace xaf {

// Keeps the rows as the table's latest and hands them to every sink. False when a sink failed;
// the other sinks still got them. Any thread.
bool deliver(const Delivery& delivery, std::shared_ptr<const RowBlock> block);

// What happened to a table; see TableMeasure.
void note_sample(const std::string& table, std::int64_t duration_us);
void note_failure(const std::string& table);
void note_missed(const std::string& table, std::uint64_t ticks);

bool have_sinks();
void close_sinks();
void forget_deliveries();  // latest rows and measures

}  // namespace xaf
