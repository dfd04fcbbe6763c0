// The pre-scanner as a whole on any text: recognisers, the passes that decide what
// looked like an instance and a call alike, and library resolution. The input is split
// at its first NUL byte pair into two files; the first byte chooses their languages and
// whether names keep their case. Nothing handed out may still be undecided.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include "hdl/base/Message.h"
#include "hdl/base/RuntimeFlags.h"
#include "hdl/sort/FileSort.h"

namespace {

std::map<std::string, std::string>& files() {
    static std::map<std::string, std::string> texts;
    return texts;
}

hdl::SourceStream* serve(const char* name) {
    auto it = files().find(name ? name : "");
    return new hdl::SourceStream(it == files().end() ? nullptr : new std::istringstream(it->second));
}

void quiet(hdl::msg_type_t, const char*, const hdl::ColLineFile*, const char*, va_list) {}

void check(const std::vector<hdl::SortReference>& records) {
    for (const hdl::SortReference& r : records)
        if (r.flags & hdl::SORT_REF_CANDIDATE) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const unsigned choice = data[0];
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    size_t split = text.find(std::string("\0\0", 2));
    files().clear();
    files()["a"] = split == std::string::npos ? text : text.substr(0, split);
    files()["b"] = split == std::string::npos ? std::string() : text.substr(split + 2);
    hdl::RuntimeFlags::SetVar("vhdl_preserve_id_case", (choice >> 2) & 1);
    hdl::Message::RegisterCallBackMsg(quiet);
    hdl::hdl_file_sort::Reset();
    hdl::hdl_file_sort::RegisterFlexStreamCallBack(serve);
    hdl::hdl_file_sort::RegisterFile("a", "work", choice & 1 ? 11 : 5, 2);
    hdl::hdl_file_sort::RegisterFile("b", choice & 8 ? "other" : "work", choice & 2 ? 9 : 2, 0);
    const hdl::FileElement* e = nullptr;
    for (unsigned i = 0; hdl::hdl_file_sort::FileAt(i, &e); ++i) {
        check(e->references);
        for (const hdl::SortUnit& u : e->units) check(u.instances);
    }
    hdl::Message::RegisterCallBackMsg(nullptr);
    return 0;
}
