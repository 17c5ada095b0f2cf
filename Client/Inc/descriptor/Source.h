// Source: what frames are called in the caches.

#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace descriptor {

namespace detail {

/// A text that nothing else in this process has had or will have, with a head for people.
inline std::string unique_text(const char* inHead = "") {
    // The address tells modules apart that hold this code at the same time, and the clock
    // those that come to the same address one after the other.
    static std::atomic<std::uint64_t> sCount{0};
    static const std::string sModule =
        std::to_string(reinterpret_cast<std::uintptr_t>(&sCount)) + "." +
        std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    return std::string(inHead).append(sModule).append(".").append(
        std::to_string(sCount.fetch_add(1)));
}

}  // namespace detail

/// The name of a run of frames: of a clip, say. It decides what the library's caches may
/// answer with.
///
/// Two sources of one name are one source: whoever gives a name says that name and frame
/// number stand for the same pixels, and what was computed for one user is there for the
/// next. A source without a name is like no other, so that nothing can be mistaken for it;
/// that is the default everywhere.
///
/// Threads: a plain value.
class Source {
public:
    /// Like no other.
    Source() : mName(detail::unique_text()) {}

    /// A name in UTF-8: a path, for instance. No two names collide, whatever script they are
    /// in, and whether or not their bytes are UTF-8 at all.
    explicit Source(std::string_view inName) : mName(inName), mIsNamed(true) {}

    /// Whether it was given a name.
    bool is_named() const noexcept { return mIsNamed; }
    /// The name; of a source without, a text that is unique in the process.
    const std::string& name() const noexcept { return mName; }

private:
    std::string mName;
    bool mIsNamed = false;
};

}  // namespace descriptor
