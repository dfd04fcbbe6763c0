// Source positions shared by both front-ends and the scanner.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hdl {

// A node position: file id plus left and right line/column. Lines and columns are
// 1-based and kept to 31 bits so that they fit the scanner's unsigned fields.
struct ColLineFile {
    uint32_t fileId = 0;
    uint32_t leftLine = 0;
    uint32_t leftCol = 0;
    uint32_t rightLine = 0;
    uint32_t rightCol = 0;

    ColLineFile() = default;
    ColLineFile(uint32_t file, uint32_t line, uint32_t col)
        : fileId(file), leftLine(line & 0x7fffffffu), leftCol(col & 0x7fffffffu), rightLine(line & 0x7fffffffu),
          rightCol(col & 0x7fffffffu) {}
    ColLineFile(uint32_t file, uint32_t lline, uint32_t lcol, uint32_t rline, uint32_t rcol)
        : fileId(file), leftLine(lline & 0x7fffffffu), leftCol(lcol & 0x7fffffffu), rightLine(rline & 0x7fffffffu),
          rightCol(rcol & 0x7fffffffu) {}
};

// The process-wide table of file names that positions refer to. Id 0 is "no file".
class LineFile {
public:
    // Returns the id of the name, adding it on first sight.
    static uint32_t GetFileId(const std::string& name);
    // Returns the id of the name, or 0 when it was never registered.
    static uint32_t FindFileId(const std::string& name);
    // Line 1, column 1 of the file, where a message about the file as a whole (it cannot
    // be read, it is not text) is placed, so that it is filed under that file.
    static ColLineFile StartOf(const std::string& name) { return ColLineFile(GetFileId(name), 1, 1); }
    // Null for id 0 or an unknown id.
    static const char* GetFileNameFromId(uint32_t id);
    static const char* GetFileName(const ColLineFile* loc);
    static uint32_t GetLineNo(const ColLineFile* loc);
    static uint32_t FileCount();
    // Forgets every name; for tests.
    static void Reset();
};

} // namespace hdl
