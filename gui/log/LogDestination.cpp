#include "gui/log/LogDestination_p.h"

#include "gui/platform/KnownFolders.h"
#include "gui/platform/LogFile.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace KovGui::LogDestination {

namespace LogFile = Platform::LogFile;

static constexpr std::size_t longestText = 1024;

namespace {

/// A directory and the log's path in it. Never changed and never freed once other threads can see it.
struct Place
{
    char directory[longestText];
    char file[longestText];
    const Place *next;
};

} // namespace

static std::atomic<const Place *> s_place{nullptr}; // null: not set
static std::atomic<const Place *> s_places{nullptr};
static std::atomic<std::int64_t> s_lastCheck{0};

static const Place *known(const char *directory, const Place *list)
{
    while (list && std::strncmp(list->directory, directory, longestText - 1) != 0)
        list = list->next;
    return list;
}

/// Null for the empty text, and when memory is exhausted.
static const Place *placeOf(const char *directory)
{
    if (!directory || !*directory)
        return nullptr;
    const Place *list = s_places.load(std::memory_order_acquire);
    if (const Place *found = known(directory, list))
        return found;
    auto *place = static_cast<Place *>(std::malloc(sizeof(Place)));
    if (!place)
        return nullptr;
    std::snprintf(place->directory, longestText, "%s", directory);
    // The cut is meant: it shows as a folder that is not there.
    const int length
        = std::snprintf(place->file, longestText, "%s/%s", place->directory, "tessarine-qor.log");
    if (length < 0)
        place->file[0] = '\0';
    place->next = list;
    while (!s_places.compare_exchange_weak(place->next, place, std::memory_order_acq_rel)) { }
    return place;
}

static void fileMustBeOpenedAgain()
{
    LogFile::close();
    s_lastCheck = 0;
}

void setDirectory(const char *directory) noexcept
{
    s_place = placeOf(directory);
    fileMustBeOpenedAgain();
}

const char *filePath() noexcept
{
    const Place *place = s_place;
    return place ? place->file : "";
}

static bool openAt(const Place *place)
{
    if (!place || !LogFile::open(place->file))
        return false;
    // Another thread chose another directory meanwhile, and its file may just have been put aside by ours.
    if (s_place != place)
        s_lastCheck = 0;
    return true;
}

/// Takes the place of the one that failed, unless somebody chose another meanwhile: that one is used then.
static const Place *fallBack(const Place *failed)
{
    const char *folder = Platform::localDataFolder();
    if (!*folder)
        folder = Platform::systemLogsFolder();
    const Place *place = placeOf(folder);
    if (!s_place.compare_exchange_strong(failed, place))
        return failed;
    fileMustBeOpenedAgain();
    return place;
}

static bool openNow()
{
    const Place *place = s_place;
    if (!place) {
        const Place *systemLogs = placeOf(Platform::systemLogsFolder());
        place = s_place.compare_exchange_strong(place, systemLogs) ? systemLogs : place;
    }
    if (place && LogFile::isAt(place->file))
        return true;
    return openAt(place) || openAt(fallBack(place));
}

static bool isReady()
{
    const std::int64_t now = std::time(nullptr);
    const bool open = LogFile::isOpen();
    if (open && s_lastCheck.load(std::memory_order_relaxed) == now)
        return true;
    const bool checked = s_lastCheck.exchange(now) == now;
    return (open && checked) || openNow();
}

void write(const char *record, std::size_t length) noexcept
{
    // A directory change between the two steps can take the file away; but not for ever.
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (!isReady())
            return;
        if (LogFile::append(record, length))
            return;
    }
}

} // namespace KovGui::LogDestination
