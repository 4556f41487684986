/// Makes calls that a plan may have fail, and says how each went: `ok`, or the error's number.
///     victim WORD...

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

void tell(const char* word, bool isGood)
{
    const int error = errno;
    if (isGood)
        std::printf("%s ok\n", word);
    else
        std::printf("%s %d\n", word, error);
}

// The compiler takes no allocation away whose result is kept here.
void* volatile s_kept = nullptr;

bool makesNew()
{
    try {
        s_kept = ::operator new(100);
        ::operator delete(s_kept);
        return true;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

bool makesThread()
{
    try {
        std::thread([] {}).join();
        return true;
    } catch (const std::system_error& error) {
        errno = error.code().value();
        return false;
    }
}

/// Allocations of four threads, counted where they fail.
void allocateInThreads()
{
    std::atomic<int> failed = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 1000; ++n)
                if (!makesNew()) ++failed;
        });
    for (auto& thread : threads) thread.join();
    std::printf("threads %d failed\n", failed.load());
}

void perform(const std::string& word)
{
    char byte = 0;
    if (word == "open") {
        const int file = open("/dev/null", O_RDWR);
        tell("open", file >= 0);
        close(file);
    } else if (word == "read") {
        const int file = open("/dev/zero", O_RDONLY);
        tell("read", read(file, &byte, 1) == 1);
        close(file);
    } else if (word == "keep") {
        tell("keep", open("/dev/zero", O_RDONLY) >= 0);
    } else if (word == "write") {
        const int file = open("/dev/null", O_WRONLY);
        tell("write", write(file, &byte, 1) == 1);
        close(file);
    } else if (word == "new") {
        tell("new", makesNew());
    } else if (word == "memalign") {
        void* memory = nullptr;
        errno = posix_memalign(&memory, 64, 100);
        tell("memalign", errno == 0 && reinterpret_cast<std::uintptr_t>(memory) % 64 == 0);
        std::free(memory);
    } else if (word == "thread") {
        tell("thread", makesThread());
    } else if (word == "mmap") {
        tell("mmap", mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED);
    } else if (word == "poll") {
        tell("poll", poll(nullptr, 0, 0) == 0);
    } else if (word == "sched") {
        cpu_set_t set;
        tell("sched", sched_getaffinity(0, sizeof set, &set) == 0);
    } else if (word == "threads") {
        allocateInThreads();
    } else if (word == "abort") {
        std::fflush(stdout);
        std::abort();
    } else if (word == "crash") {
        static_cast<void>(*static_cast<volatile int*>(s_kept));
    }
}

}  // namespace

int main(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) perform(argv[i]);
}
