// Interned names. A Symbol is 32 bits that stand for a text kept for the life of the
// process: equal texts get equal symbols, so names compare as numbers, and a tree that
// holds a name a million times holds its text once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string_view>

namespace hdl {

class Symbol {
public:
    // The empty text.
    Symbol() = default;
    static Symbol Intern(std::string_view text);
    // The symbol of a text interned before, else the empty symbol; interns nothing.
    static Symbol Find(std::string_view text);
    // Forgets every text, so that a process that analyses again and again (tests, fuzzing)
    // does not grow; only when no symbol is held any more.
    static void ForgetAll();

    std::string_view Text() const { return texts_[id_]; }
    operator std::string_view() const { return Text(); }
    bool empty() const { return id_ == 0; }
    size_t size() const { return Text().size(); }
    const char* data() const { return Text().data(); }
    uint32_t Id() const { return id_; }

    friend bool operator==(Symbol a, Symbol b) { return a.id_ == b.id_; }
    friend bool operator!=(Symbol a, Symbol b) { return a.id_ != b.id_; }
    friend bool operator==(Symbol a, std::string_view b) { return a.Text() == b; }
    friend bool operator!=(Symbol a, std::string_view b) { return a.Text() != b; }
    friend bool operator==(std::string_view a, Symbol b) { return a == b.Text(); }
    friend bool operator!=(std::string_view a, Symbol b) { return a != b.Text(); }

private:
    explicit Symbol(uint32_t id) : id_(id) {}
    static const std::string_view* texts_; // by id; moves as the table grows
    uint32_t id_ = 0;
};

inline std::ostream& operator<<(std::ostream& out, Symbol s) { return out << s.Text(); }

} // namespace hdl
