#include "hdl/sv/VeriTokens.h"

namespace hdl {

namespace {

struct KindInfo {
    const char* text = "";
    VeriKeywordSet set = VERI_KW_1995;
    bool keyword = false;
};

bool isWordText(const char* text) { return (text[0] >= 'a' && text[0] <= 'z') || text[0] == '_'; }

const KindInfo* kindTable() {
    static KindInfo table[VT_KIND_COUNT];
    static bool filled = false;
    if (!filled) {
#define HDL_VERI_FIXED_INFO(name, num, txt, st) table[num] = KindInfo{txt, VeriKeywordSet(st), isWordText(txt)};
#define HDL_VERI_MORE_INFO(name, txt, st) table[VT_##name] = KindInfo{txt, VeriKeywordSet(st), isWordText(txt)};
        HDL_VERI_FIXED_TOKENS(HDL_VERI_FIXED_INFO)
        HDL_VERI_MORE_TOKENS(HDL_VERI_MORE_INFO)
#undef HDL_VERI_FIXED_INFO
#undef HDL_VERI_MORE_INFO
        filled = true;
    }
    return table;
}

} // namespace

const char* tokenKeyword(int kind) {
    if (kind < 259 || kind > 448) return "";
    return kindTable()[kind].text;
}

const char* tokenText(int kind) {
    if (kind < 0 || kind >= VT_KIND_COUNT) return "";
    return kindTable()[kind].text;
}

VeriKeywordSet tokenKeywordSet(int kind) {
    if (kind < 0 || kind >= VT_KIND_COUNT) return VERI_KW_1995;
    return kindTable()[kind].set;
}

bool isKeywordKind(int kind) { return kind >= 0 && kind < VT_KIND_COUNT && kindTable()[kind].keyword; }

bool isAssignOperatorKind(int kind) {
    switch (kind) {
    case VT_PLUS_EQ:
    case VT_MINUS_EQ:
    case VT_STAR_EQ:
    case VT_SLASH_EQ:
    case VT_MOD_EQ:
    case VT_AND_EQ:
    case VT_OR_EQ:
    case VT_XOR_EQ:
    case VT_SHL_EQ:
    case VT_SHR_EQ:
    case VT_ASHL_EQ:
    case VT_ASHR_EQ: return true;
    default: return false;
    }
}

bool isStrengthKind(int kind) {
    switch (kind) {
    case VT_SUPPLY0:
    case VT_SUPPLY1:
    case VT_STRONG0:
    case VT_STRONG1:
    case VT_PULL0:
    case VT_PULL1:
    case VT_WEAK0:
    case VT_WEAK1:
    case VT_HIGHZ0:
    case VT_HIGHZ1: return true;
    default: return false;
    }
}

} // namespace hdl
