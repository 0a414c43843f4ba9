// The number of descriptors the process has open, for tests and benchmarks that check
// that fetching leaves none behind.  Header-only, so benchmarks built without the test
// support archive share it.
#ifndef TESTS_SUPPORT_OPEN_DESCRIPTORS_H_
#define TESTS_SUPPORT_OPEN_DESCRIPTORS_H_

#include <dirent.h>

namespace zelk::test {

inline int openDescriptors()
{
    int count = 0;
    if (DIR *directory = opendir("/proc/self/fd")) {
        while (struct dirent *entry = readdir(directory))
            count += entry->d_name[0] != '.' ? 1 : 0;
        closedir(directory);
    }
    return count - 1;  // the directory's own descriptor
}

}  // namespace zelk::test

#endif  // TESTS_SUPPORT_OPEN_DESCRIPTORS_H_
