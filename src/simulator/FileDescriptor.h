#pragma once

namespace pivex {

/// One open file descriptor, closed with its owner.
class FileDescriptor {
public:
    FileDescriptor() = default;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    ~FileDescriptor() { close(); }

    int get() const { return number; }

    /// Closes what is open and takes `next` over.
    void reset(int next);

    void close() { reset(-1); }

private:
    int number = -1;
};

} // namespace pivex
