#include "sift/shell/CommandMessages.h"

#include <string_view>
#include <unordered_map>

namespace hdl {

const char* commandMessageId(const char* format) {
    static const std::unordered_map<std::string_view, const char*> table = [] {
        std::unordered_map<std::string_view, const char*> byFormat;
        for (const MessageText* text : cmd_msg::Catalogue().texts) byFormat.emplace(text->format, text->id.id);
        return byFormat;
    }();
    if (!format) return nullptr;
    auto it = table.find(format);
    return it == table.end() ? nullptr : it->second;
}

} // namespace hdl
