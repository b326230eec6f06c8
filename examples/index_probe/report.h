// Columns in, answers out: reading a file of values and showing what a probe found.
#pragma once

#include <string>
#include <vector>

#include "probe.h"

// The lines of a file, without their ends.
std::vector<std::string> ReadLines(const std::string& path);

// The column's name, size and range.
void ShowColumn(const Probe& probe);

// Asks, and shows estimate, plan, truth and the first `limit` hits.
void ShowAnswer(const Probe& probe, const Predicate& predicate, const Stored& constant,
                unsigned limit);
