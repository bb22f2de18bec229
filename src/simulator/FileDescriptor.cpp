#include "simulator/FileDescriptor.h"

#include <unistd.h>

namespace pivex {

void FileDescriptor::reset(int next) {
    if (number >= 0) {
        ::close(number);
    }
    number = next;
}

} // namespace pivex
