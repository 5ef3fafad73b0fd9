#pragma once

#include <vector>

#include "velmora/Program.h"

/// True when `a` starts before `b`.
bool sortProgramsByTime(Program* a, Program* b);

/// True when `a` has the smaller content identifier (unsigned).
bool programComparation(Program* a, Program* b);

/// Sorts as `sortProgramsByTime` says. Each start time is read once, programmes of one start time keep their order.
void sortByStartTime(std::vector<Program*>* programs);
