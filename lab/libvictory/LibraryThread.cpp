#include "lab/libvictory/LibraryThread.h"

#include <csignal>
#include <system_error>

namespace labvictory {

namespace {

using Body = std::function<void()>;

void* enter(void* argument)
{
    const std::unique_ptr<Body> body(static_cast<Body*>(argument));
    (*body)();
    return nullptr;
}

void check(int error, const char* what)
{
    if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

/// All signals blocked for a scope; a thread that starts within inherits that.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t all;
        ::sigfillset(&all);
        check(::pthread_sigmask(SIG_SETMASK, &all, &m_previous), "pthread_sigmask");
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_previous{};
};

struct Attributes {
    Attributes() { check(::pthread_attr_init(&value), "pthread_attr_init"); }
    ~Attributes() { ::pthread_attr_destroy(&value); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    pthread_attr_t value{};
};

}  // namespace

LibraryThread::LibraryThread(const char* name, std::function<void()> body)
{
    Attributes attributes;
    check(::pthread_attr_setstacksize(&attributes.value, kStackSize), "pthread_attr_setstacksize");
    auto handedOver = std::make_unique<Body>(std::move(body));
    const SignalsBlocked blocked;
    check(::pthread_create(&m_thread, &attributes.value, enter, handedOver.get()), "pthread_create");
    static_cast<void>(handedOver.release());  // the thread's now
    ::pthread_setname_np(m_thread, name);
}

LibraryThread::~LibraryThread()
{
    ::pthread_join(m_thread, nullptr);
}

}  // namespace labvictory
