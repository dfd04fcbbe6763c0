// A small database in which every table and every record kind holds data, for the archive
// tests. Values are distinct where possible so that a field read from the wrong place shows.
#pragma once

#include "sift/database/HADLDatabase.h"

void fillSampleDatabase(HADLDatabase& db);
