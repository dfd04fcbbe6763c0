// Decides the VHDL `label : name;` statements that the skim could not tell apart
// (VhdlVisibility in SortElement.h), once every registered file has been read.
#pragma once

#include <memory>
#include <vector>

#include "hdl/sort/SortElement.h"

namespace hdl {

// A statement is a component instance when a component of its name is visible where it
// stands: declared earlier in its architecture (any of its blocks), or in a package
// that a use clause or context made visible before it in its file, or before its
// entity in the entity's file. The others are procedure calls and leave the element.
// Each element's candidates are decided once.
void decideVhdlCandidates(const std::vector<std::unique_ptr<FileElement>>& elements);

} // namespace hdl
