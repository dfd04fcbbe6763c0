#include "hdl/vhdl/VhdlLexer.h"

#include <cctype>
#include <cstdio>
#include <string>

#include "hdl/base/Message.h"
#include "hdl/vhdl/VhdlLexTables.h"
#include "hdl/vhdl/VhdlMessageIds.h"

namespace hdl {

using namespace vhdllex;

namespace {

// Beyond this many lexical errors a file is treated as garbage and reading stops.
constexpr unsigned kMaxLexErrors = 25;

bool IsLetter(char c) {
    auto u = static_cast<unsigned char>(c);
    return ((u | 0x20) >= 'a' && (u | 0x20) <= 'z') || u >= 0xc0;
}
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsExtDigit(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

bool IEquals(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

} // namespace

VhdlLexer::VhdlLexer(std::string_view text, uint32_t fileId, unsigned mode)
    : text_(text), fileId_(fileId), mode_(mode) {}

void VhdlLexer::Advance() {
    if (text_[pos_] == '\n') {
        ++line_;
        col_ = 1;
    } else {
        ++col_;
    }
    ++pos_;
}

namespace {

// Errors of tool directives count against the file's cap of errors, as the lexer's other
// errors do; each stands on its own line.
template <const MessageText& M, typename... A>
void TellDirectiveError(ErrorRecovery& recovery, const ColLineFile& loc, A... args) {
    if (recovery.OnLineError(loc.fileId) == ErrorRecovery::Quiet) return;
    Message::Tell<M>(&loc, args...);
}

} // namespace

template <const MessageText& M>
void VhdlLexer::Error(std::string_view arg) {
    ++errors_;
    if (recovery_.OnError(fileId_, tokensAsked_) == ErrorRecovery::Quiet) return;
    ColLineFile loc = Here();
    std::string a(arg.substr(0, 64));
    Message::Tell<M>(&loc, a.c_str());
}

std::vector<VhdlTok> VhdlLexer::Tokenize() {
    std::vector<VhdlTok> toks;
    toks.reserve(text_.size() / 5 + 16);
    for (;;) {
        VhdlTok t = Next();
        if (t.kind == VHDL_ERROR) {
            if (errors_ >= kMaxLexErrors) {
                t.kind = VHDL_EOF;
                toks.push_back(t);
                break;
            }
            continue;
        }
        toks.push_back(t);
        if (t.kind == VHDL_EOF) break;
    }
    return toks;
}

VhdlTok VhdlLexer::Next() {
    ++tokensAsked_;
    SkipBlanksAndComments();
    VhdlTok t;
    t.begin = static_cast<uint32_t>(pos_);
    t.line = line_;
    t.col = col_;
    if (AtEnd()) {
        t.kind = VHDL_EOF;
    } else {
        char c = Peek();
        if (IsLetter(c)) {
            Identifier(t);
        } else if (IsDigit(c)) {
            Number(t);
        } else if (c == '\\') {
            StringLiteral(t, '\\');
        } else if (c == '"') {
            StringLiteral(t, '"');
        } else if (c == '\'' && Peek(2) == '\'' && Peek(1) != '\0' &&
                   !(prevKind_ == VHDL_ID || prevKind_ == VHDL_EXTENDED_ID || prevKind_ == VHDL_RPAREN ||
                     prevKind_ == VHDL_RBRACKET || prevKind_ == VHDL_ALL)) {
            Advance();
            Advance();
            Advance();
            t.kind = VHDL_CHARACTER;
        } else {
            Delimiter(t);
        }
    }
    t.end = static_cast<uint32_t>(pos_);
    t.endLine = line_;
    t.endCol = col_ > 1 ? col_ - 1 : col_;
    if (t.kind != VHDL_ERROR) prevKind_ = t.kind;
    return t;
}

void VhdlLexer::SkipBlanksAndComments() {
    while (!AtEnd()) {
        char c = Peek();
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v' ||
            static_cast<unsigned char>(c) == 0xa0) {
            Advance();
        } else if (c == '-' && Peek(1) == '-') {
            LineComment(pos_);
        } else if (c == '/' && Peek(1) == '*') {
            BlockComment();
        } else if (c == '`') {
            Directive();
        } else {
            return;
        }
    }
}

void VhdlLexer::LineComment(size_t start) {
    // The rest of the line holds no newline, so the column moves by its length.
    size_t end = text_.find('\n', pos_);
    if (end == std::string_view::npos) end = text_.size();
    col_ += static_cast<uint32_t>(end - pos_);
    pos_ = end;
    std::string_view body = text_.substr(start + 2, pos_ - start - 2);
    size_t first = 0;
    std::string_view word = nextWord(body, first);
    // No word that starts a pragma or PSL is longer than "rtl_synthesis".
    if (word.size() > 13) return;
    if (wordIs(word, "psl")) {
        ColLineFile loc = Here();
        Message::Tell<vhdl_msg::PslCommentIgnored>(&loc);
        return;
    }
    if (!ignorePragmas_ && pragmaKind(body) == 1) SkipToPragmaOn();
}

void VhdlLexer::SkipToPragmaOn() {
    ColLineFile from = Here();
    size_t begin = pos_;
    while (!AtEnd()) {
        if (Peek() == '-' && Peek(1) == '-') {
            size_t start = pos_;
            while (!AtEnd() && Peek() != '\n') Advance();
            if (pragmaKind(text_.substr(start + 2, pos_ - start - 2)) == 2) {
                skipped_.push_back(text_.substr(begin, start - begin));
                return;
            }
        } else {
            Advance();
        }
    }
    skipped_.push_back(text_.substr(begin));
    Message::Tell<vhdl_msg::TranslateOffNotClosed>(&from);
}

void VhdlLexer::BlockComment() {
    ColLineFile from = Here();
    Advance();
    Advance();
    while (!AtEnd()) {
        if (Peek() == '*' && Peek(1) == '/') {
            Advance();
            Advance();
            return;
        }
        Advance();
    }
    ++errors_;
    Message::Tell<vhdl_msg::CommentNotClosed>(&from);
}

// One tool directive, from the backtick to the end of its line.
void VhdlLexer::Directive() {
    ColLineFile loc = Here();
    Advance();
    size_t b = pos_;
    while (!AtEnd() && (IsExtDigit(Peek()) || Peek() == '_')) Advance();
    std::string name(text_.substr(b, pos_ - b));
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    size_t restBegin = pos_;
    uint32_t restCol = col_;
    while (!AtEnd() && Peek() != '\n') Advance();
    std::string_view rest = text_.substr(restBegin, pos_ - restBegin);
    if (name == "protect") {
        size_t i = 0;
        if (wordIs(nextWord(rest, i), "begin_protected")) {
            Message::Tell<vhdl_msg::ProtectedSkipped>(&loc);
            SkipProtected();
        }
        return;
    }
    if (name == "if") {
        // Back to the condition, which lies on this line.
        pos_ = restBegin;
        col_ = restCol;
        bool taken = ReadCondition();
        conditions_.push_back(true);
        if (!taken) SkipInactive(true);
        return;
    }
    if (name == "elsif" || name == "else") {
        if (conditions_.empty()) {
            ++errors_;
            TellDirectiveError<vhdl_msg::DirectiveWithoutIf>(recovery_, loc, name.c_str());
            return;
        }
        // The branch before was taken: everything up to `end is inactive.
        SkipInactive(false);
        return;
    }
    if (name == "end") {
        if (conditions_.empty()) {
            ++errors_;
            TellDirectiveError<vhdl_msg::EndWithoutIf>(recovery_, loc);
        } else {
            conditions_.pop_back();
        }
        return;
    }
    if (name == "warning" || name == "error") {
        std::string text(rest);
        if (name == "error") {
            ++errors_;
            Message::TellAs<vhdl_msg::DirectiveText>(MSG_ERROR, &loc, text.c_str());
        } else {
            Message::Tell<vhdl_msg::DirectiveText>(&loc, text.c_str());
        }
        return;
    }
    ++errors_;
    TellDirectiveError<vhdl_msg::UnknownDirective>(recovery_, loc, name.c_str());
}

// Skips text of a branch that is not taken. With stopAtElse the scan stops at an
// `elsif whose condition holds or at `else of the same level; `end of the same
// level always ends it (and closes the directive).
void VhdlLexer::SkipInactive(bool stopAtElse) {
    size_t begin = pos_;
    SkipInactiveText(stopAtElse);
    skipped_.push_back(text_.substr(begin, pos_ - begin));
}

void VhdlLexer::SkipInactiveText(bool stopAtElse) {
    unsigned depth = 0;
    while (!AtEnd()) {
        char c = Peek();
        if (c == '-' && Peek(1) == '-') {
            while (!AtEnd() && Peek() != '\n') Advance();
            continue;
        }
        if (c != '`') {
            Advance();
            continue;
        }
        Advance();
        size_t b = pos_;
        while (!AtEnd() && (IsExtDigit(Peek()) || Peek() == '_')) Advance();
        std::string_view name = text_.substr(b, pos_ - b);
        if (IEquals(name, "if")) {
            ++depth;
        } else if (IEquals(name, "end")) {
            if (depth == 0) {
                while (!AtEnd() && Peek() != '\n') Advance();
                if (!conditions_.empty()) conditions_.pop_back();
                return;
            }
            --depth;
        } else if (depth == 0 && stopAtElse && IEquals(name, "else")) {
            while (!AtEnd() && Peek() != '\n') Advance();
            return;
        } else if (depth == 0 && stopAtElse && IEquals(name, "elsif")) {
            if (ReadCondition()) return;
        }
    }
    ColLineFile loc = Here();
    ++errors_;
    TellDirectiveError<vhdl_msg::IfNotClosed>(recovery_, loc);
}

void VhdlLexer::SkipProtected() {
    while (!AtEnd()) {
        if (Peek() == '`') {
            size_t b = pos_;
            while (!AtEnd() && Peek() != '\n') Advance();
            std::string_view line = text_.substr(b + 1, pos_ - b - 1);
            size_t i = 0;
            if (wordIs(nextWord(line, i), "protect") && wordIs(nextWord(line, i), "end_protected")) return;
        } else {
            Advance();
        }
    }
}

// Reads `cond `then from the current position to the end of the line and evaluates it.
bool VhdlLexer::ReadCondition() {
    ColLineFile loc = Here();
    size_t restBegin = pos_;
    while (!AtEnd() && Peek() != '\n') Advance();
    std::string_view rest = text_.substr(restBegin, pos_ - restBegin);
    std::vector<std::string_view> words;
    size_t i = 0;
    bool sawThen = false;
    while (i < rest.size()) {
        char c = rest[i];
        if (std::isspace(static_cast<unsigned char>(c))) {
            ++i;
            continue;
        }
        if (c == '-' && i + 1 < rest.size() && rest[i + 1] == '-') break;
        size_t s = i;
        if (c == '"') {
            ++i;
            while (i < rest.size() && rest[i] != '"') ++i;
            if (i < rest.size()) ++i;
        } else if (c == '`' || std::isalnum(static_cast<unsigned char>(c)) || c == '_') {
            ++i;
            while (i < rest.size() && (std::isalnum(static_cast<unsigned char>(rest[i])) || rest[i] == '_')) ++i;
        } else if ((c == '/' || c == '<' || c == '>') && i + 1 < rest.size() && rest[i + 1] == '=') {
            i += 2;
        } else {
            ++i;
        }
        std::string_view w = rest.substr(s, i - s);
        if (IEquals(w, "then") || IEquals(w, "`then")) {
            sawThen = true;
            break;
        }
        words.push_back(w);
    }
    if (!sawThen) {
        ++errors_;
        TellDirectiveError<vhdl_msg::ConditionWithoutThen>(recovery_, loc);
        return false;
    }
    size_t at = 0;
    bool ok = true;
    bool value = EvalCondition(words, at, ok);
    if (!ok || at != words.size()) {
        ++errors_;
        TellDirectiveError<vhdl_msg::MalformedCondition>(recovery_, loc);
        return false;
    }
    return value;
}

std::string_view VhdlLexer::DirectiveValue(std::string_view name) const {
    if (IEquals(name, "VHDL_VERSION")) {
        switch (mode_) {
        case VHDL_87: return "1987";
        case VHDL_93: return "1993";
        case VHDL_2K: return "2000";
        case VHDL_2008: return "2008";
        default: return "2019";
        }
    }
    if (IEquals(name, "TOOL_TYPE")) return "SIMULATION";
    if (IEquals(name, "TOOL_VENDOR") || IEquals(name, "TOOL_NAME")) return "sift";
    if (IEquals(name, "TOOL_VERSION")) return "1.0";
    return "";
}

// condition ::= relation { logical_op relation }; relation ::= not relation |
// ( condition ) | operand [ relop operand ], where an operand is a name or a string.
bool VhdlLexer::EvalCondition(const std::vector<std::string_view>& w, size_t& at, bool& ok) {
    bool value = EvalRelation(w, at, ok);
    while (ok && at < w.size()) {
        std::string_view op = w[at];
        if (!(IEquals(op, "and") || IEquals(op, "or") || IEquals(op, "xor") || IEquals(op, "nand") ||
              IEquals(op, "nor") || IEquals(op, "xnor")))
            break;
        ++at;
        bool r = EvalRelation(w, at, ok);
        if (IEquals(op, "and")) value = value && r;
        else if (IEquals(op, "or")) value = value || r;
        else if (IEquals(op, "xor")) value = value != r;
        else if (IEquals(op, "nand")) value = !(value && r);
        else if (IEquals(op, "nor")) value = !(value || r);
        else value = value == r;
    }
    return value;
}

bool VhdlLexer::EvalRelation(const std::vector<std::string_view>& w, size_t& at, bool& ok) {
    if (at >= w.size()) {
        ok = false;
        return false;
    }
    if (IEquals(w[at], "not")) {
        ++at;
        return !EvalRelation(w, at, ok);
    }
    if (w[at] == "(") {
        ++at;
        bool v = EvalCondition(w, at, ok);
        if (at < w.size() && w[at] == ")") ++at;
        else ok = false;
        return v;
    }
    auto operand = [&](std::string_view x) -> std::string_view {
        if (x.size() >= 2 && x.front() == '"' && x.back() == '"') return x.substr(1, x.size() - 2);
        return DirectiveValue(x);
    };
    std::string_view left = operand(w[at++]);
    if (at >= w.size()) {
        ok = false;
        return false;
    }
    std::string_view op = w[at++];
    if (at >= w.size()) {
        ok = false;
        return false;
    }
    std::string_view right = operand(w[at++]);
    int cmp = left.compare(right);
    if (op == "=") return cmp == 0;
    if (op == "/=") return cmp != 0;
    if (op == "<") return cmp < 0;
    if (op == "<=") return cmp <= 0;
    if (op == ">") return cmp > 0;
    if (op == ">=") return cmp >= 0;
    ok = false;
    return false;
}

void VhdlLexer::Identifier(VhdlTok& t) {
    // A name holds no newline, so the column moves by its length.
    size_t end = pos_;
    while (end < text_.size() && (IsLetter(text_[end]) || IsDigit(text_[end]) || text_[end] == '_')) ++end;
    col_ += static_cast<uint32_t>(end - pos_);
    pos_ = end;
    std::string_view word = text_.substr(t.begin, pos_ - t.begin);
    if (Peek() == '"' && isBaseSpecifier(word)) {
        BitStringTail(t);
        return;
    }
    t.kind = VhdlKeyword(word, mode_);
}

// The quoted part of a bit string literal; the base specifier was read.
bool VhdlLexer::BitStringTail(VhdlTok& t) {
    StringLiteral(t, '"');
    if (t.kind == VHDL_STRING) t.kind = VHDL_BIT_STRING;
    return t.kind == VHDL_BIT_STRING;
}

void VhdlLexer::Number(VhdlTok& t) {
    auto digits = [&](bool extended) {
        bool any = false;
        while (!AtEnd()) {
            char c = Peek();
            if (extended ? IsExtDigit(c) : IsDigit(c)) {
                any = true;
                Advance();
            } else if (c == '_' && any && (extended ? IsExtDigit(Peek(1)) : IsDigit(Peek(1)))) {
                Advance();
            } else {
                break;
            }
        }
        return any;
    };
    digits(false);
    t.kind = VHDL_INTEGER;
    char c = Peek();
    if (c == '#' || (c == ':' && IsExtDigit(Peek(1)))) {
        char mark = c;
        Advance();
        digits(true);
        if (Peek() == '.') {
            Advance();
            digits(true);
            t.kind = VHDL_REAL;
        }
        if (Peek() != mark) {
            Error<vhdl_msg::BasedLiteralNotClosed>(text_.substr(t.begin, pos_ - t.begin));
            t.kind = VHDL_ERROR;
            return;
        }
        Advance();
    } else if (c == '.' && IsDigit(Peek(1))) {
        Advance();
        digits(false);
        t.kind = VHDL_REAL;
    } else if (IsLetter(c)) {
        // A length in front of a bit string literal: 12UX"F".
        size_t k = 0;
        while (IsLetter(Peek(k)) && k < 3) ++k;
        if (Peek(k) == '"' && isBaseSpecifier(text_.substr(pos_, k))) {
            for (size_t i = 0; i < k; ++i) Advance();
            BitStringTail(t);
            return;
        }
    }
    if ((Peek() == 'e' || Peek() == 'E') &&
        (IsDigit(Peek(1)) || ((Peek(1) == '+' || Peek(1) == '-') && IsDigit(Peek(2))))) {
        Advance();
        if (Peek() == '+' || Peek() == '-') Advance();
        digits(false);
    }
}

// Strings, bit strings and extended identifiers; `quote` is doubled inside.
void VhdlLexer::StringLiteral(VhdlTok& t, char quote) {
    Advance();
    for (;;) {
        if (AtEnd() || Peek() == '\n') {
            Error<vhdl_msg::LiteralNotClosed>(text_.substr(t.begin, pos_ - t.begin));
            t.kind = VHDL_ERROR;
            return;
        }
        if (Peek() == quote) {
            Advance();
            if (Peek() == quote) {
                Advance();
                continue;
            }
            break;
        }
        Advance();
    }
    t.kind = quote == '\\' ? VHDL_EXTENDED_ID : VHDL_STRING;
}

void VhdlLexer::Delimiter(VhdlTok& t) {
    char c = Peek();
    char n = Peek(1);
    auto take = [&](unsigned count, VhdlToken kind) {
        for (unsigned i = 0; i < count; ++i) Advance();
        t.kind = kind;
    };
    switch (c) {
    case '&': return take(1, VHDL_AMP);
    case '\'': return take(1, VHDL_TICK);
    case '(': return take(1, VHDL_LPAREN);
    case ')': return take(1, VHDL_RPAREN);
    case '*': return n == '*' ? take(2, VHDL_POW) : take(1, VHDL_STAR);
    case '+': return take(1, VHDL_PLUS);
    case ',': return take(1, VHDL_COMMA);
    case '-': return take(1, VHDL_MINUS);
    case '.': return take(1, VHDL_DOT);
    case '/': return n == '=' ? take(2, VHDL_NEQ) : take(1, VHDL_SLASH);
    case ':': return n == '=' ? take(2, VHDL_VARASSIGN) : take(1, VHDL_COLON);
    case ';': return take(1, VHDL_SEMI);
    case '<':
        if (n == '=') return take(2, VHDL_LE);
        if (n == '>') return take(2, VHDL_BOX);
        if (n == '<') return take(2, VHDL_LTLT);
        return take(1, VHDL_LT);
    case '=': return n == '>' ? take(2, VHDL_ARROW) : take(1, VHDL_EQ);
    case '>':
        if (n == '=') return take(2, VHDL_GE);
        if (n == '>') return take(2, VHDL_GTGT);
        return take(1, VHDL_GT);
    case '|': return take(1, VHDL_BAR);
    case '!': return take(1, VHDL_BAR); // replacement character of 1076-1987
    case '[': return take(1, VHDL_LBRACKET);
    case ']': return take(1, VHDL_RBRACKET);
    case '@': return take(1, VHDL_AT);
    case '{': return take(1, VHDL_LBRACE);
    case '}': return take(1, VHDL_RBRACE);
    case '^': return take(1, VHDL_CARET);
    case '?':
        if (n == '?') return take(2, VHDL_COND);
        if (n == '=') return take(2, VHDL_MEQ);
        if (n == '/' && Peek(2) == '=') return take(3, VHDL_MNEQ);
        if (n == '<') return Peek(2) == '=' ? take(3, VHDL_MLE) : take(2, VHDL_MLT);
        if (n == '>') return Peek(2) == '=' ? take(3, VHDL_MGE) : take(2, VHDL_MGT);
        return take(1, VHDL_QUESTION);
    default: break;
    }
    char buf[8];
    snprintf(buf, sizeof buf, "0x%02x", static_cast<unsigned char>(c));
    Error<vhdl_msg::CharacterNotAllowed>(buf);
    Advance();
    t.kind = VHDL_ERROR;
}

} // namespace hdl
