#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/ListModel.h"

namespace kr {

class Ui;

/// The sort keys of list columns. Their order is that of the sort texts that stand for the cells:
/// dates as year to second, numbers in thirty places with the negative ones below; a cell that is
/// neither has an empty sort text and comes first.

/// Seconds of a date as ParseDate reads it; "Never" counts as 31 December 2888.
double DateSortKey(std::string_view text);
/// A number as ParseNumber reads it; "Unlimited" counts as 32767.
double NumberSortKey(std::string_view text);
/// For each text its place among them as a person orders them; equal texts share one.
std::vector<uint32_t> TextRanks(std::span<const std::string_view> texts);

void SortListView(ListModel& list, int column, SortOrder order);
/// A click on a header, under a wait cursor: ListModel::ColumnClick.
void ListColumnClick(Ui& ui, ListModel& list, int column);

/// The texts that a view has to measure to fit a column to its content: the `count` longest,
/// longest first, by characters with those of East Asian scripts as two. Valid until the list
/// changes.
std::vector<std::string_view> ColumnFitTexts(const ListModel& list, int column, size_t count = 64);

} // namespace kr
