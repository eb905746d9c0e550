#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <cstdint>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <vector>

/// An entry as no honest packer writes it.
struct FuzzEntry
{
    std::string path;
    std::string content;
    uint8_t oddity = 0; ///< 1 to 5, anything else is a plain file

    /// @param longestPath  bytes
    static FuzzEntry from(FuzzedDataProvider &provider, size_t longestPath)
    {
        return {provider.ConsumeRandomLengthString(longestPath), provider.ConsumeRandomLengthString(40),
                provider.ConsumeIntegralInRange<uint8_t>(0, 20)};
    }
};

inline void addEntry(archive *target, const FuzzEntry &entry)
{
    archive_entry *const header = archive_entry_new();
    archive_entry_set_pathname(header, entry.path.c_str());
    archive_entry_set_filetype(header, entry.oddity == 1   ? AE_IFDIR
                                       : entry.oddity == 2 ? AE_IFIFO
                                                           : AE_IFREG);
    archive_entry_set_perm(header, entry.oddity == 3 ? 04755 : 0644);
    archive_entry_set_size(header, la_int64_t(entry.content.size()));
    if (entry.oddity == 4)
        archive_entry_set_symlink(header, "/");
    if (entry.oddity == 5)
        archive_entry_set_hardlink(header, "/etc/passwd");
    if (archive_write_header(target, header) == ARCHIVE_OK)
        archive_write_data(target, entry.content.data(), entry.content.size());
    archive_entry_free(header);
}

/// A gzipped archive.
/// @param setFormat  of libarchive, such as archive_write_set_format_ustar
inline std::string packed(const std::vector<FuzzEntry> &entries, int (*setFormat)(archive *))
{
    std::string bytes;
    archive *const target = archive_write_new();
    setFormat(target);
    archive_write_add_filter_gzip(target);
    const auto append = [](archive *, void *text, const void *data, size_t size) {
        static_cast<std::string *>(text)->append(static_cast<const char *>(data), size);
        return la_ssize_t(size);
    };
    archive_write_open(target, &bytes, nullptr, append, nullptr);
    for (const FuzzEntry &entry : entries)
        addEntry(target, entry);
    archive_write_free(target);
    return bytes;
}
