// For a build that carries many mutants; included in front of every source.
//
// KOWEN_MUTANT is the number of the one that the process is to be; without it the build does what
// the tree does. KOWEN_MUTANTS_SEEN names a file with a byte for each, which becomes 1 when the
// process comes to a place that has that one.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

struct KowenMutants {
    int chosen = 0;
    unsigned char *seen = nullptr;

    KowenMutants() {
        if (const char *number = getenv("KOWEN_MUTANT"))
            chosen = atoi(number);
        if (const char *path = getenv("KOWEN_MUTANTS_SEEN"))
            Map(path);
    }

    void Map(const char *path) {
        const int file = open(path, O_RDWR | O_CLOEXEC);
        struct stat status = {};
        if (file < 0 || fstat(file, &status) != 0)
            return;
        void *map = mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ | PROT_WRITE,
                         MAP_SHARED, file, 0);
        close(file);
        if (map != MAP_FAILED)
            seen = static_cast<unsigned char *>(map);
    }
};

inline bool KowenMutant(int number) {
    static const KowenMutants mutants;
    if (mutants.seen != nullptr)
        mutants.seen[number] = 1;
    return mutants.chosen == number;
}
