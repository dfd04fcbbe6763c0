#include "SampleDatabase.h"

void fillSampleDatabase(HADLDatabase& db)
{
    db.setDefaultLibrary("work");
    db.options.ignoreTranslateOff = true;
    db.options.strictVhdlLibSearchOrder = true;
    db.options.enableVHDL2019 = false;
    unsigned top = db.insertFileName("rtl/top.sv", 5, "work");
    unsigned pkg = db.insertFileName("rtl/pkg.vhd", 11, "lib_a");
    unsigned inc = db.insertFileName("inc/defs.vh", 14, "work");
    db.fileAttrs.at(pkg).isStdVhdl = true;
    db.fileAttrs.at(inc).tempAliasId = top;
    db.fileAttrs.at(top).isAliasOfId = inc;
    db.fileAttrs.at(inc).isDisabled = true;
    db.stdVhdlLibNames.insert("IEEE");
    db.stdVhdlLibNames.insert("std");
    db.stdSVLibNames.insert("uvm");
    unsigned list = db.newIncDirList();
    db.addIncDir("inc", list);
    db.addIncDir("/opt/ip/include", list);
    db.setFileIncDirList(list, top);
    db.addMacro("WIDTH", "32");
    db.addMacro("SIM", nullptr);

    auto& prop = db.fileProps.at(top);
    prop.includedFiles = {inc};
    prop.parsReqFiles = {pkg};
    prop.parsOvrFiles = {pkg, inc};
    prop.elabReqFiles = {pkg};
    db.parseOrder = {pkg, top};

    unsigned lib = db.objNames.insert("work");
    unsigned topName = db.objNames.insert("top");
    unsigned subName = db.objNames.insert("sub");
    unsigned arch = db.objNames.insert("rtl");
    unsigned u0 = db.objNames.insert("u0");
    unsigned clk = db.objNames.insert("clk");
    unsigned logic = db.objNames.insert("logic");
    unsigned width = db.objNames.insert("WIDTH");

    unsigned rTop = db.rUnitNames.insert(".work.top");
    unsigned rSub = db.rUnitNames.insert("/work/sub/rtl");
    db.resizeTables();
    db.rUnitAttrs.at(rTop) = {lib, topName, 0, {top}, {{u0, rSub}, {u0 + 100, 0}}};
    db.rUnitAttrs.at(rSub) = {lib, subName, arch, {pkg, top}, {}};
    db.rUnitVars.at(rTop).push_back({clk, true, false, 7, 0, top, 3});
    db.rUnitVars.at(rTop).push_back({clk + 1, true, true, 0, 0, top, 4});

    unsigned uTop = db.unitNames.insert(".work.top");
    unsigned uSub = db.unitNames.insert("/work/sub/rtl");
    unsigned uCopy = db.unitNames.insert(".work.top(W=8)");
    db.resizeTables();
    HADLDatabase::UnitAttr& a = db.unitAttrs.at(uTop);
    a = {lib, topName, 0, 0, top, 1, 40, 1, 9, {}, {}, false, true, {}, {}, {}};
    a.insts.push_back({uSub, u0, top, 12, true, false, true});
    a.insts.push_back({uCopy, u0 + 1, top, 13, false, true, false});
    a.inactiveUnits = {uCopy};
    HADLDatabase::PortAttr port{clk, logic, 7, 0, 1, 0, 2, 3, 4, {{width, 5}}};
    a.ports.push_back(port);
    a.ports.push_back({clk + 2, 0, 0, 0, 0, 0, 0, 0, 0, {}});
    a.parameters.push_back({width, 1, 2, 3, 4, 5, 6, 7, 8, true, false});
    a.parameters.push_back({width + 1, 0, 0, 0, 0, 0, 0, 0, 0, false, true});
    a.attributes.push_back({width, logic});
    db.unitAttrs.at(uSub) = {lib, subName, arch, 0, pkg, 2, 20, 3, 4, {}, {}, true, false, {}, {}, {}};
    db.unitAttrs.at(uCopy) = db.unitAttrs.at(uTop);
    db.unitAttrs.at(uCopy).origUnitId = uTop;
    db.duplicateAttrs.push_back(db.unitAttrs.at(uSub));
    db.duplicateAttrs.back().startLine = 77;
    db.pkgIds.at(pkg) = {subName};
    db.derivedUnits.at(uTop) = {uCopy};
    db.tops = {uTop};

    db.addMessage("caught %s", {"boom"});
    db.fileMsgs.at(top).push_back({5, 2, db.fmtStrs.insert("VERI-%s %s"), {db.argStrs.insert("x"), 1}});
    db.blockRanges.at(top) = {{1, 40}, {12, 13}};
    db.tesselModuleNames.insert("TESSEL_RAM");
    db.tesselLibClauseButNoInsts = true;
    db.enableVhdlVerilogConfig = false;
    db.primaryToUnits[topName] = {uTop, uCopy};
    db.primaryToUnits[subName] = {};
    unsigned sig = db.declTypes.insert("std_logic");
    db.declTypes.insert("entity");
    HADLDatabase::Declaration decl;
    decl.name = clk;
    decl.type = sig;
    decl.kind = 0x203;
    decl.fileId = pkg;
    decl.line = 9;
    decl.startCol = 5;
    decl.references.push_back({top, 14, 3});
    decl.references.push_back({pkg, 15, 6});
    db.variables.push_back(decl);
    db.variables.push_back({});
    db.unitRanges.push_back({topName, top, 1, 40, 0});
    db.addGeneric("DEPTH", "16");
    db.addGeneric("MODE", nullptr);
    db.addNonHdlModule("blackbox_ip");
    db.status.err = -7;
    db.status.isParseDone = true;
    db.status.isElabError = true;
}
