// Template helpers of VhdlParser, shared by its source files.
#pragma once

#include <cctype>

#include "hdl/vhdl/VhdlMessageIds.h"
#include "hdl/vhdl/VhdlParser.h"

namespace hdl {

template <const MessageText& M, typename... A>
void VhdlParser::SyntaxError(A... args) {
    const ErrorRecovery::Verdict verdict = recovery_.OnError(fileId_, pos_ - skipped_);
    if (verdict == ErrorRecovery::Quiet) return;
    const VhdlTok& t = Tok();
    ColLineFile loc(fileId_, t.line, t.col, t.endLine, t.endCol);
    Message::Tell<M>(&loc, args...);
    if (verdict == ErrorRecovery::TellLast) {
        Message::Tell<vhdl_msg::TooManySyntaxErrors>(&loc);
        skipped_ += toks_.size() - 1 - pos_;
        pos_ = toks_.size() - 1;
    }
}

template <class T>
T* VhdlParser::Make(size_t startTok) {
    T* node = arena_.make<T>();
    Finish(node, startTok);
    return node;
}

template <class T>
T* VhdlParser::MakeId(size_t tokIndex) {
    T* id = arena_.make<T>();
    const VhdlTok& t = toks_[tokIndex < toks_.size() ? tokIndex : toks_.size() - 1];
    id->SetLinefile(ColLineFile(fileId_, t.line, t.col, t.endLine, t.endCol));
    id->origName = Text(t);
    bool lower = true;
    for (char c : id->origName)
        if (std::isupper(static_cast<unsigned char>(c))) lower = false;
    if (lower || preserveIdCase_ || t.kind == VHDL_EXTENDED_ID || t.kind == VHDL_CHARACTER) {
        id->name = id->origName;
    } else {
        std::string_view copy = arena_.copy(id->origName);
        char* p = const_cast<char*>(copy.data());
        for (size_t i = 0; i < copy.size(); ++i)
            p[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(p[i])));
        id->name = copy;
    }
    return id;
}

template <class T>
T* VhdlParser::ParseId() {
    if (!IsIdentifier()) {
        SyntaxErrorUnexpected();
        return nullptr;
    }
    return MakeId<T>(pos_++);
}

template <class T>
VhdlIdList VhdlParser::ParseIdList() {
    std::vector<VhdlIdDef*> ids;
    do {
        if (VhdlIdDef* id = ParseId<T>()) ids.push_back(id);
        else break;
    } while (Accept(VHDL_COMMA));
    return List(ids);
}

} // namespace hdl
