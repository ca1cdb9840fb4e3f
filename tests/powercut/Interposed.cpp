// The calls of the C library that change files, for the whole program that links this: each does what it always does,
// and while a recording is at work it takes a note of what it did.
#include "powercut/Recorder_p.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <span>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

using powercut::Recorder;

namespace {

template<typename Function>
Function* original(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

/// The path of `name` below an open folder, for calls that ask by path.
std::string below(int folder, const char* name) {
    if (folder == AT_FDCWD || *name == '/') {
        return name;
    }
    return "/proc/self/fd/" + std::to_string(folder) + "/" + name;
}

bool nameExists(const std::string& path) {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Runs `call`; after its success, `note` with the recorder. The error number is that of the call.
template<typename Call, typename Note>
auto noted(Call call, Note note) {
    if (Recorder::current() == nullptr) {
        return call();
    }
    const std::lock_guard hold(Recorder::lock());
    const auto result = call();
    if (Recorder* recorder = Recorder::current(); recorder != nullptr && result >= 0) {
        const int error = errno;
        note(*recorder, result);
        errno = error;
    }
    return result;
}

template<typename Call>
int noteOpening(int folder, const char* name, int flags, Call call) {
    if (Recorder::current() == nullptr) {
        return call();
    }
    const std::lock_guard hold(Recorder::lock());
    const std::string path = below(folder, name);
    const bool isNew = (flags & O_CREAT) != 0 && !nameExists(path);
    return noted(call, [&](Recorder& recorder, int file) {
        if (isNew) {
            recorder.created(path);
        } else if ((flags & O_TRUNC) != 0) {
            recorder.resized(recorder.nodeOf(file), 0);
        }
    });
}

template<typename Call>
int noteRemoval(int folder, const char* name, Call call) {
    Recorder* const present = Recorder::current();
    if (present == nullptr) {
        return call();
    }
    const std::lock_guard hold(Recorder::lock());
    const std::string path = below(folder, name);
    const auto node = present->nodeOf(path);
    return noted(call, [&](Recorder& recorder, int) { recorder.removed(path, node); });
}

template<typename Call>
int noteMove(int fromFolder, const char* fromName, int toFolder, const char* toName, Call call) {
    Recorder* const present = Recorder::current();
    if (present == nullptr) {
        return call();
    }
    const std::lock_guard hold(Recorder::lock());
    const std::string from = below(fromFolder, fromName);
    const std::string to = below(toFolder, toName);
    const auto node = present->nodeOf(from);
    return noted(call, [&](Recorder& recorder, int) { recorder.moved(from, to, node); });
}

mode_t modeOf(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    static auto* const real = original<int(const char*, int, ...)>("open");
    return noteOpening(AT_FDCWD, path, flags, [&] { return real(path, flags, mode); });
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    static auto* const real = original<int(const char*, int, ...)>("open64");
    return noteOpening(AT_FDCWD, path, flags, [&] { return real(path, flags, mode); });
}

int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    static auto* const real = original<int(int, const char*, int, ...)>("openat");
    return noteOpening(folder, path, flags, [&] { return real(folder, path, flags, mode); });
}

int openat64(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    static auto* const real = original<int(int, const char*, int, ...)>("openat64");
    return noteOpening(folder, path, flags, [&] { return real(folder, path, flags, mode); });
}

ssize_t write(int file, const void* bytes, size_t size) {
    static auto* const real = original<ssize_t(int, const void*, size_t)>("write");
    return noted([&] { return real(file, bytes, size); },
                 [&](Recorder& recorder, ssize_t written) {
                     recorder.wrote(file, ::lseek(file, 0, SEEK_CUR) - written, bytes, static_cast<size_t>(written));
                 });
}

ssize_t writev(int file, const iovec* parts, int count) {
    static auto* const real = original<ssize_t(int, const iovec*, int)>("writev");
    return noted([&] { return real(file, parts, count); },
                 [&](Recorder& recorder, ssize_t written) {
                     std::string bytes;
                     for (const iovec& part : std::span(parts, static_cast<size_t>(count))) {
                         bytes.append(static_cast<const char*>(part.iov_base), part.iov_len);
                     }
                     recorder.wrote(file, ::lseek(file, 0, SEEK_CUR) - written, bytes.data(),
                                    static_cast<size_t>(written));
                 });
}

ssize_t pwrite(int file, const void* bytes, size_t size, off_t offset) {
    static auto* const real = original<ssize_t(int, const void*, size_t, off_t)>("pwrite");
    return noted([&] { return real(file, bytes, size, offset); },
                 [&](Recorder& recorder, ssize_t written) {
                     recorder.wrote(file, offset, bytes, static_cast<size_t>(written));
                 });
}

ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t offset) {
    static auto* const real = original<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
    return noted([&] { return real(file, bytes, size, offset); },
                 [&](Recorder& recorder, ssize_t written) {
                     recorder.wrote(file, offset, bytes, static_cast<size_t>(written));
                 });
}

int ftruncate(int file, off_t size) noexcept {
    static auto* const real = original<int(int, off_t)>("ftruncate");
    return noted([&] { return real(file, size); },
                 [&](Recorder& recorder, int) { recorder.resized(recorder.nodeOf(file), size); });
}

int ftruncate64(int file, off64_t size) noexcept {
    static auto* const real = original<int(int, off64_t)>("ftruncate64");
    return noted([&] { return real(file, size); },
                 [&](Recorder& recorder, int) { recorder.resized(recorder.nodeOf(file), size); });
}

int truncate(const char* path, off_t size) noexcept {
    static auto* const real = original<int(const char*, off_t)>("truncate");
    return noted([&] { return real(path, size); },
                 [&](Recorder& recorder, int) { recorder.resized(recorder.nodeOf(path), size); });
}

int truncate64(const char* path, off64_t size) noexcept {
    static auto* const real = original<int(const char*, off64_t)>("truncate64");
    return noted([&] { return real(path, size); },
                 [&](Recorder& recorder, int) { recorder.resized(recorder.nodeOf(path), size); });
}

// The standard library copies files with it.
ssize_t sendfile(int to, int from, off_t* offset, size_t size) noexcept {
    static auto* const real = original<ssize_t(int, int, off_t*, size_t)>("sendfile");
    const off_t start = offset != nullptr ? *offset : ::lseek(from, 0, SEEK_CUR);
    return noted([&] { return real(to, from, offset, size); },
                 [&](Recorder& recorder, ssize_t sent) {
                     std::string bytes(static_cast<size_t>(sent), '\0');
                     const ssize_t got = ::pread(from, bytes.data(), bytes.size(), start);
                     recorder.wrote(to, ::lseek(to, 0, SEEK_CUR) - sent, bytes.data(),
                                    static_cast<size_t>(got < 0 ? 0 : got));
                 });
}

// Streams of the standard library open this way and write by write().
FILE* fopen(const char* path, const char* mode) {
    static auto* const real = original<FILE*(const char*, const char*)>("fopen");
    FILE* file = nullptr;
    noteOpening(AT_FDCWD, path,
                *mode == 'w'   ? O_CREAT | O_TRUNC
                : *mode == 'a' ? O_CREAT
                               : 0,
                [&] {
                    file = real(path, mode);
                    return file != nullptr ? ::fileno(file) : -1;
                });
    return file;
}

FILE* fopen64(const char* path, const char* mode) {
    return fopen(path, mode);
}

int fsync(int file) {
    static auto* const real = original<int(int)>("fsync");
    return noted([&] { return real(file); }, [&](Recorder& recorder, int) { recorder.flushed(file); });
}

int fdatasync(int file) {
    static auto* const real = original<int(int)>("fdatasync");
    return noted([&] { return real(file); }, [&](Recorder& recorder, int) { recorder.flushed(file); });
}

int rename(const char* from, const char* to) noexcept {
    static auto* const real = original<int(const char*, const char*)>("rename");
    return noteMove(AT_FDCWD, from, AT_FDCWD, to, [&] { return real(from, to); });
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    static auto* const real = original<int(int, const char*, int, const char*)>("renameat");
    return noteMove(fromFolder, from, toFolder, to, [&] { return real(fromFolder, from, toFolder, to); });
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags) noexcept {
    static auto* const real = original<int(int, const char*, int, const char*, unsigned int)>("renameat2");
    return noteMove(fromFolder, from, toFolder, to, [&] { return real(fromFolder, from, toFolder, to, flags); });
}

int unlink(const char* path) noexcept {
    static auto* const real = original<int(const char*)>("unlink");
    return noteRemoval(AT_FDCWD, path, [&] { return real(path); });
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    static auto* const real = original<int(int, const char*, int)>("unlinkat");
    return noteRemoval(folder, path, [&] { return real(folder, path, flags); });
}

int rmdir(const char* path) noexcept {
    static auto* const real = original<int(const char*)>("rmdir");
    return noteRemoval(AT_FDCWD, path, [&] { return real(path); });
}

int remove(const char* path) noexcept {
    static auto* const real = original<int(const char*)>("remove");
    return noteRemoval(AT_FDCWD, path, [&] { return real(path); });
}

int mkdir(const char* path, mode_t mode) noexcept {
    static auto* const real = original<int(const char*, mode_t)>("mkdir");
    return noted([&] { return real(path, mode); }, [&](Recorder& recorder, int) { recorder.created(path); });
}

int link(const char* from, const char* to) noexcept {
    static auto* const real = original<int(const char*, const char*)>("link");
    return noted([&] { return real(from, to); }, [&](Recorder& recorder, int) { recorder.added(to); });
}

int symlink(const char* target, const char* path) noexcept {
    static auto* const real = original<int(const char*, const char*)>("symlink");
    return noted([&] { return real(target, path); }, [&](Recorder& recorder, int) { recorder.created(path); });
}

} // extern "C"
