// Front-ends never open files themselves: they ask a registered callback for a
// stream, so that the caller can trace every file and include that is read, and
// can hand out decrypted or aliased text. Each front-end (Verilog, VHDL, the
// pre-scanner) keeps its own callback; without one a file is read from disk.
//
// A stream is kept alive for as long as its file is being processed (until the
// end of the file, after the files it includes), so that a caller that watches
// creation and destruction sees properly nested enter/leave pairs.
#pragma once

#include <algorithm>
#include <cstring>
#include <istream>
#include <memory>
#include <string>
#include <string_view>

namespace hdl {

// Source text holds no NUL byte; one near the start marks an object file, an image or
// an archive given by mistake, which is reported once instead of character by character.
inline bool LooksBinary(std::string_view text) {
    return std::memchr(text.data(), '\0', std::min<size_t>(text.size(), size_t(1) << 16)) != nullptr;
}

class SourceStream {
public:
    // Takes ownership of `in`, which may be null for a file that could not be opened.
    explicit SourceStream(std::istream* in);
    virtual ~SourceStream();
    SourceStream(const SourceStream&) = delete;
    SourceStream& operator=(const SourceStream&) = delete;

    bool is_open() const;
    bool fail() const;
    std::istream* stream() const { return in_; }
    // Appends everything left in the stream to `out`; false when there is no input or
    // the read failed.
    bool ReadAll(std::string& out);
    // How many characters the stream says it holds, without reading them; 0 when it
    // cannot tell.
    size_t Remaining();

protected:
    // For a stream made before its input (which it then owns).
    void attach(std::istream* in) {
        delete in_;
        in_ = in;
    }

private:
    std::istream* in_;
};

using StreamCallBack = SourceStream* (*)(const char* name);

// Opens `name` through `callback`, or straight from disk when it is null. Never
// returns null: a missing file gives a stream that is not open.
std::unique_ptr<SourceStream> OpenSourceStream(StreamCallBack callback, const char* name);

// Small path helpers shared by the front-ends.
struct FileSystem {
    // "a/b/c.v" -> "a/b"; "c.v" -> "."
    static std::string DirectoryPath(const std::string& path);
    static std::string Join(const std::string& dir, const std::string& name);
    static bool IsAbsolute(const std::string& path) { return !path.empty() && path[0] == '/'; }
    // A regular file, or the null device (which reads as an empty file). Directories,
    // pipes and other devices are refused: reading them fails, blocks or never ends.
    static bool IsSourceFile(const std::string& path);
};

} // namespace hdl
