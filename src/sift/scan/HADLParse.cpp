#include "sift/scan/HADLParse.h"

#include <map>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>

#include "hdl/base/Language.h"
#include "hdl/base/LineFile.h"
#include "hdl/sv/VeriLibrary.h"
#include "hdl/vhdl/VhdlLibrary.h"
#include "runtime/LoomScopeTimer.h"
#include "sift/base/HADLMsgCapture.h"
#include "sift/scan/HADLSifter.h"

void HADLParse::analyzeFile(const std::string& path, const std::string& library, unsigned lang) {
    const unsigned mode = hdl::LanguageOf(lang);
    if (hdl::IsVerilogLanguage(mode)) hdl::veri_file::Analyze(path.c_str(), mode, library.c_str());
    else hdl::vhdl_file::Analyze(path.c_str(), library.c_str(), mode);
}

void HADLParse::doParse() {
    LoomScopeTimer timer("HADLSifter::doParse");
    HADLSifter& s = sifter;

    // Records first, so that each is completed right after its file is analysed.
    std::multimap<unsigned, unsigned> duplicatesOfFile;
    for (unsigned unitId = 1; unitId < s.rUnitAttrs.size(); ++unitId) {
        const HADLDatabase::RUnitAttr& unit = s.rUnitAttrs.at(unitId);
        if (unit.fileIds.size() <= 1) continue;
        for (unsigned fileId : unit.fileIds) {
            HADLDatabase::UnitAttr record;
            record.libId = unit.libId;
            record.primaryId = unit.primaryId;
            record.secondaryId = unit.secondaryId;
            record.fileId = fileId;
            s.duplicateAttrs.push_back(record);
            duplicatesOfFile.emplace(fileId, static_cast<unsigned>(s.duplicateAttrs.size() - 1));
        }
    }

    // Standard libraries come before the project's include directories and macros, and
    // their messages are not the project's.
    for (unsigned fileId : s.stdLibFileIds) {
        const HADLDatabase::FileAttr& attr = s.fileAttrs.at(fileId);
        analyzeFile(s.fileNames.getString(fileId), s.objNames.getString(attr.libId), attr.lang);
    }

    HADLMsgCapture capture(s);
    capture.start(s.verbosity, false);

    for (unsigned dirId = 1; dirId < s.dirNames.size(); ++dirId)
        hdl::veri_file::AddIncludeDir(s.dirNames.getString(dirId));
    for (unsigned macroId = 1; macroId < s.macroNames.size(); ++macroId) {
        const HADLDatabase::MacroDef& def = s.macroDefs.at(macroId);
        hdl::veri_file::DefineMacro(s.macroNames.getString(macroId),
                                    def.hasValue ? s.macroValues.getString(def.valueId) : nullptr);
    }

    // Libraries are searched in the order of their first use.
    std::vector<bool> announced(s.objNames.size(), false);
    for (unsigned fileId : s.parseOrder) {
        const HADLDatabase::FileAttr& attr = s.fileAttrs.at(fileId);
        if (attr.isStdVhdl || attr.isDisabled || hdl::IsIncludeLanguage(attr.lang)) continue;
        const std::string library = s.objNames.getString(attr.libId);
        if (!announced.at(attr.libId)) {
            // Strict order: VHDL finds a library only through the source's own clauses.
            if (!s.options.strictVhdlLibSearchOrder) hdl::vhdl_file::AddLOption(library.c_str());
            hdl::veri_file::AddLOption(library.c_str());
            announced[attr.libId] = true;
        }
        analyzeFile(s.fileNames.getString(fileId), library, attr.lang);
        auto range = duplicatesOfFile.equal_range(fileId);
        for (auto it = range.first; it != range.second; ++it) updateDuplicate(it->second);
    }
    capture.stop();
}

void HADLParse::updateDuplicate(unsigned index) {
    HADLSifter& s = sifter;
    HADLDatabase::UnitAttr& record = s.duplicateAttrs.at(index);
    const std::string library = s.objNames.getString(record.libId);
    const std::string primary = s.objNames.getString(record.primaryId);
    const std::string secondary = s.objNames.getString(record.secondaryId);

    if (!hdl::IsVhdlLanguage(s.fileAttrs.at(record.fileId).lang)) {
        hdl::VeriModule* module = hdl::veri_file::GetModule(primary.c_str(), library.c_str());
        if (module) record.startLine = module->Linefile().leftLine;
        return;
    }
    // The record keeps the spelling of the last match when no match lies in its file.
    for (hdl::VhdlLibrary* lib : hdl::vhdl_file::AllLibraries()) {
        if (lib->Name() != library) continue;
        for (hdl::VhdlPrimaryUnit* unit : lib->PrimaryUnits()) {
            const std::string unitName(unit->Name());
            if (!boost::algorithm::iequals(unitName, primary)) continue;
            for (hdl::VhdlSecondaryUnit* second : unit->GetSecondaryUnits()) {
                const std::string secondName(second->Name());
                if (!boost::algorithm::iequals(secondName, secondary)) continue;
                record.primaryId = s.objNames.insert(unitName.c_str());
                record.secondaryId = s.objNames.insert(secondName.c_str());
                const char* file = hdl::LineFile::GetFileName(&second->Linefile());
                if (file && s.fileNames.find(file) == record.fileId) {
                    record.startLine = hdl::LineFile::GetLineNo(&second->Linefile());
                    return;
                }
            }
        }
    }
}
