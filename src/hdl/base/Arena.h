// Bump allocator for parse trees: one arena per library (or per analysis), freed at
// once. Objects placed here must not need their destructors to run unless they are
// created with `make`, which records the destructor.
#pragma once

#include <cstddef>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace hdl {

class Arena {
public:
    // A `zeroed` arena hands out memory that was all zero bits, gaps and padding included.
    explicit Arena(size_t blockSize = 64 * 1024, bool zeroed = false) : blockSize_(blockSize), zeroed_(zeroed) {}
    ~Arena();
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    void* allocate(size_t size, size_t align = alignof(std::max_align_t));

    // Constructs a T in the arena; its destructor runs when the arena dies unless T is
    // trivially destructible.
    template <typename T, typename... Args>
    T* make(Args&&... args) {
        void* p = allocate(sizeof(T), alignof(T));
        T* obj = new (p) T(std::forward<Args>(args)...);
        if constexpr (!std::is_trivially_destructible_v<T>) {
            destructors_.push_back({obj, [](void* o) { static_cast<T*>(o)->~T(); }});
        }
        return obj;
    }

    // Copies text into the arena (NUL-terminated) and returns a view of the copy.
    std::string_view copy(std::string_view text);

    size_t bytesAllocated() const { return used_; }
    // Where everything allocated so far lies, when it is one block: [begin, end).
    bool SingleExtent(const char*& begin, const char*& end) const;
    size_t bytesReserved() const { return reserved_; }
    static constexpr size_t hugeBlock() { return kHugePage; }
    static constexpr size_t hugeFrom() { return kHugeFrom; }

private:
    struct Dtor {
        void* obj;
        void (*fn)(void*);
    };
    static constexpr size_t kHugePage = size_t(2) << 20;
    static constexpr size_t kHugeFrom = size_t(4) << 20; // bytes reserved before huge blocks
    size_t blockSize_;
    bool zeroed_;
    std::vector<char*> blocks_;
    char* cur_ = nullptr;
    char* end_ = nullptr;
    size_t used_ = 0;
    size_t reserved_ = 0;
    std::vector<Dtor> destructors_;
};

} // namespace hdl
