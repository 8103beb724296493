#pragma once

#include <dirent.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

/// Owners of objects from the C library; each releases its object when it goes out of scope.

struct KvuFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using KvuFile = std::unique_ptr<std::FILE, KvuFileCloser>;

struct KvuDirCloser {
    void operator()(DIR* dir) const { closedir(dir); }
};
using KvuDir = std::unique_ptr<DIR, KvuDirCloser>;

/// A listing as scandir makes it: `count` entries; the array and each entry are allocated.
/// `count` is -1 when the directory could not be read.
class KvuListing {
public:
    KvuListing() = default;
    KvuListing(struct dirent** list, int number) : entries(list), count(number) {}
    KvuListing(const KvuListing&) = delete;
    KvuListing& operator=(const KvuListing&) = delete;
    ~KvuListing() { release(); }

    void release() {
        for (int i = 0; i < count; ++i) std::free(entries[i]);
        std::free(entries);
        entries = nullptr;
        count = 0;
    }

    struct dirent** entries = nullptr;
    int count = 0;
};
