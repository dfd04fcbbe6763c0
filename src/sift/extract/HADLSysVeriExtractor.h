// Names a Verilog unit reaches outside itself at elaboration: the first component of
// each hierarchical reference (`top.u1.sig`) and the scope of each `scope::item`
// (a package). The binder turns them into the files a file needs at elaboration.
#pragma once

#include "hdl/sv/VeriVisitor.h"
#include "sift/database/HADLStringIndexTable.h"

class HADLSysVeriExtractor : public hdl::VeriVisitor {
public:
    HADLSysVeriExtractor(HADLStringIndexTable& scopeNames, HADLStringIndexTable& selectedNames)
        : scopeNames(scopeNames), selectedNames(selectedNames) {}

    void Visit(hdl::VeriScopeName& node) override;
    void Visit(hdl::VeriSelectedName& node) override;

    HADLStringIndexTable& scopeNames;
    HADLStringIndexTable& selectedNames;
};
