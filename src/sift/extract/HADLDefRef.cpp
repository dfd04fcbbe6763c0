#include "sift/extract/HADLDefRef.h"

#include <algorithm>

#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"

void walkDesign(HADLWalkRequest& request) {
    HADLDatabase& db = *request.db;
    {
        HADLVeriAST veri(request);
        for (hdl::VeriLibrary* library : hdl::veri_file::AllLibraries())
            for (hdl::VeriModule* module : library->AllModules())
                // Copies that elaboration made share their source with the original.
                if (module->GetOriginalModuleName().empty()) module->Accept(veri);
        if (request.defRef) veri.writeDeclarations();
    }
    {
        HADLVhdlAST vhdl(request);
        for (hdl::VhdlLibrary* library : hdl::vhdl_file::AllLibraries()) {
            for (hdl::VhdlPrimaryUnit* unit : library->PrimaryUnits()) {
                if (!unit->GetOriginalUnitName().empty()) continue;
                unit->Accept(vhdl);
                if (unit->secondaryUnits)
                    for (hdl::VhdlSecondaryUnit* secondary : unit->GetSecondaryUnits()) secondary->Accept(vhdl);
            }
        }
        if (request.defRef) vhdl.writeDeclarations();
    }
    if (!request.blockRanges) return;
    for (HADLVectorForTuple<HADLDatabase::Range>& ranges : db.blockRanges) {
        if (ranges.size() < 2) continue;
        std::sort(ranges.begin(), ranges.end(), [](const HADLDatabase::Range& a, const HADLDatabase::Range& b) {
            return a.startLine != b.startLine ? a.startLine < b.startLine : a.endLine < b.endLine;
        });
        ranges.erase(std::unique(ranges.begin(), ranges.end(),
                                 [](const HADLDatabase::Range& a, const HADLDatabase::Range& b) {
                                     return a.startLine == b.startLine && a.endLine == b.endLine;
                                 }),
                     ranges.end());
    }
}
