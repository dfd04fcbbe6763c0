// The preprocessed token stream of Verilog/SystemVerilog: files are lexed, compiler
// directives obeyed, macros expanded and conditional text dropped, and the parser pulls
// one finished token at a time. Files are opened only through the stream callback, and
// each file's stream stays open until the file is done (after its includes), so that a
// tracing callback sees enter/leave pairs that nest.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hdl/base/Language.h"
#include "hdl/base/LineFile.h"
#include "hdl/base/SourceStream.h"
#include "hdl/sv/VeriMacroTable.h"
#include "hdl/sv/VeriTokens.h"

namespace hdl {

struct VeriPreprocessorOptions {
    std::vector<std::string> includeDirs; // searched in order after the includer's folder
    std::vector<std::string> defines; // "NAME" or "NAME=value"
    // 1 Verilog 1995, 2 Verilog 2001, 3 SystemVerilog 2005, 4 SystemVerilog 2009,
    // 5 SystemVerilog 2012/2017, 14 an include file (read as 5).
    unsigned language = LANG_SV;
    bool ignoreTranslateOff = false; // read text between translate_off/on
    StreamCallBack streamCallBack = nullptr;
};

struct VeriTimescale {
    bool set = false;
    std::string unit; // e.g. "1ns"
    std::string precision; // e.g. "1ps"
};

// Where a macro use stood; tokens point here through VeriToken::expansion.
struct VeriExpansion {
    std::string_view macroName;
    ColLineFile callSite;
};

class VeriPreprocessor {
public:
    explicit VeriPreprocessor(VeriPreprocessorOptions options);
    ~VeriPreprocessor();
    VeriPreprocessor(const VeriPreprocessor&) = delete;
    VeriPreprocessor& operator=(const VeriPreprocessor&) = delete;

    // Queues a file to read after the files queued before it. False (with a message)
    // when it cannot be opened.
    bool pushFile(const std::string& path);
    // Reads text given in memory, under `name` for positions (tests, tools); it is
    // read before anything still pending, like an include at the current point.
    void pushText(std::string text, const std::string& name);
    // The next token; VT_EOF once every queued file is done (and again after that).
    VeriToken next();

    // Directive state as of the last token returned.
    std::string_view defaultNettype() const { return defaultNettype_; } // "wire" unless set
    bool cellDefine() const { return cellDefine_; }
    const VeriTimescale& timescale() const { return timescale_; }
    // The last `uselib's directives (`lib=L file=F dir=D libext=.v`), empty when none.
    std::string_view uselib() const { return uselib_; }
    // 0 none, 1 pull0, 2 pull1
    int unconnectedDrive() const { return unconnectedDrive_; }
    VeriKeywordSet keywordSet() const;

    VeriMacroTable& macros() { return macros_; }
    const VeriMacroTable& macros() const { return macros_; }
    // Forgets every macro and re-enters the command-line definitions; for the start of
    // a new compilation unit.
    void resetMacros();

    const VeriExpansion* expansion(uint32_t id) const;
    // Every opening of a file (queued, included, or text given), in order.
    const std::vector<std::string>& filesRead() const { return filesRead_; }
    // Includes seen: (including file id, included path as resolved).
    struct IncludeRecord {
        uint32_t fromFileId;
        std::string path;
    };
    const std::vector<IncludeRecord>& includes() const { return includes_; }

private:
    struct Impl;
    friend struct Impl;
    VeriPreprocessorOptions options_;
    VeriMacroTable macros_;
    std::string defaultNettype_ = "wire";
    bool cellDefine_ = false;
    VeriTimescale timescale_;
    int unconnectedDrive_ = 0;
    std::string uselib_;
    std::vector<std::string> filesRead_;
    std::vector<IncludeRecord> includes_;
    std::unique_ptr<Impl> impl_;
};

} // namespace hdl
