#include "ZANTOsharedtext.h"

#include "ZANTOstatic.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <unordered_set>

namespace {

struct Pool {
    std::mutex mutex;
    std::unordered_set<std::string> texts; // guarded by mutex; never moves what it holds
};

Pool &pool()
{
    static ZANTONeverDestroyed<Pool> instance;
    return instance.get();
}

// What was asked for lately, so that the build of a tree, which asks for the same few texts for
// each channel, does without the lock and the hash. Each place changes by itself.
constexpr std::size_t recentCount = 256;
std::array<std::atomic<const std::string *>, recentCount> recent;

// Needs to differ only between the few texts of a crate.
std::size_t placeOf(std::string_view text)
{
    std::size_t sum = text.size();
    for (const char letter : text.substr(0, 16))
        sum = sum * 31 + static_cast<unsigned char>(letter);
    return sum % recentCount;
}

} // namespace

const std::string &ZANTOSharedText::empty() noexcept
{
    static ZANTONeverDestroyed<std::string> text;
    return text.get();
}

const std::string *ZANTOSharedText::keep(std::string_view text)
{
    if (text.empty())
        return nullptr;
    std::atomic<const std::string *> &place = recent[placeOf(text)];
    const std::string *found = place.load(std::memory_order_acquire);
    if (found == nullptr || *found != text) {
        std::lock_guard<std::mutex> lock(pool().mutex);
        found = &*pool().texts.emplace(text).first;
        place.store(found, std::memory_order_release);
    }
    return found;
}
