// Passes on the database alone: a unit graph from the skim's raw units (the sketch),
// the choice and order of tops that ends every flow producing units, and the
// redirection of instances through the configurations that select them.
#pragma once

#include <set>
#include <vector>

#include "sift/database/HADLDatabase.h"

// Only on an empty unit table: an entity with architectures becomes its last
// architecture, every other raw unit a unit of its own.
void sketchUnits(HADLDatabase& db);
// Appends the tops to `tops`: most instances first, then by name without case.
void computeTops(HADLDatabase& db);
void redirectConfigInsts(HADLDatabase& db);
// Targets of a configuration's instances and their instances' targets, two levels deep.
void collectConfigTargets(const HADLDatabase& db, const HADLDatabase::UnitAttr& config, std::set<unsigned>& targets);
void clearConfigTargets(const HADLDatabase& db, const HADLDatabase::UnitAttr& config, std::vector<bool>& isTop,
                        const std::vector<std::vector<unsigned>>& localDerived);
