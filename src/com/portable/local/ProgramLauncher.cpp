#include "com/portable/local/ProgramLauncher.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/auxv.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "com/portable/file_trust.h"
#include "com/portable/local/LocalFailure.h"

namespace Korvex::Com {
namespace {

namespace fs = std::filesystem;

// Between the starter and the process that becomes the program: the latter tells its number, waits to be let go, and
// then either closes its end by becoming the program or tells why it could not.
struct Channel {
    Descriptor starter;
    Descriptor program;
};

Channel newChannel() {
    int ends[2] = {};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw systemFailure(CO_E_SERVER_EXEC_FAILURE, "a program could not be started");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void refuseWhatIsNotToBeStarted(const fs::path& program) {
    if (::getauxval(AT_SECURE) != 0)
        throw LocalFailure(E_ACCESSDENIED, "a program with more rights than its user starts no server");
    if (!program.is_absolute())
        throw LocalFailure(CO_E_SERVER_EXEC_FAILURE, program.string() + ": is no absolute path");
    if (const std::string reason = whyNotTrusted(program); !reason.empty())
        throw LocalFailure(E_ACCESSDENIED, program.string() + ": " + reason);
}

// ---- In the new processes, where only what is safe in a signal handler is called ------------------

constexpr int kChannel = STDERR_FILENO + 1;

// Descriptors as the program gets them, and the channel, which closes when the program begins.
void arrangeDescriptors(int channel) {
    const int above = ::fcntl(channel, F_DUPFD, kChannel + 1);
    const int nothing = ::open("/dev/null", O_RDWR);
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) ::dup2(nothing, standard);
    ::dup2(above, kChannel);
    ::fcntl(kChannel, F_SETFD, FD_CLOEXEC);
    ::closefrom(kChannel + 1);
}

void arrangeSignals() {
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    for (int number = 1; number < _NSIG; ++number) ::sigaction(number, &byDefault, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void becomeProgram(int channel, const char* path, char* const* arguments) {
    arrangeDescriptors(channel);
    const pid_t self = ::getpid();
    char isLetGo = 0;
    if (::send(kChannel, &self, sizeof self, MSG_NOSIGNAL) != sizeof self || ::read(kChannel, &isLetGo, 1) != 1)
        ::_exit(1);
    ::setsid();
    arrangeSignals();
    if (::chdir("/") == 0) ::execve(path, arguments, environ);
    const int error = errno;
    ::send(kChannel, &error, sizeof error, MSG_NOSIGNAL);
    ::_exit(1);
}

// As fork(), but without handlers that the application set for it, and the child's end makes no signal.
pid_t forkQuietly() {
    return static_cast<pid_t>(::syscall(SYS_clone, 0, 0, 0, 0, 0));
}

[[noreturn]] void startAndEnd(int channel, const char* path, char* const* arguments) {
    if (forkQuietly() == 0) becomeProgram(channel, path, arguments);
    ::_exit(0);
}

// ---- In the starter ------------------------------------------------------------------------------

// While a new process is a copy of this one, no handler of the application is to run in it.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_;
};

void forkTwice(int channel, const fs::path& program) {
    std::string name = program.string();
    std::string embedding = "-Embedding";
    const std::array<char*, 3> arguments = {name.data(), embedding.data(), nullptr};
    const SignalsBlocked blocked;
    const pid_t between = forkQuietly();
    if (between == 0) startAndEnd(channel, name.c_str(), arguments.data());
    if (between < 0) throw systemFailure(CO_E_SERVER_EXEC_FAILURE, name);
    while (::waitpid(between, nullptr, static_cast<int>(__WCLONE)) < 0 && errno == EINTR) {
    }
}

// True if that many bytes came before the other end closed.
bool receive(const Descriptor& channel, void* data, std::size_t size) {
    ssize_t got = 0;
    do {
        got = ::recv(channel.get(), data, size, MSG_WAITALL);
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(size);
}

// Taken while the process waits to be let go, so that the number cannot be another one's by now.
Descriptor processAt(const Descriptor& channel, const fs::path& program) {
    pid_t number = 0;
    if (!receive(channel, &number, sizeof number))
        throw LocalFailure(CO_E_SERVER_EXEC_FAILURE, program.string() + ": could not be started");
    Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, number, 0)));
    if (!process) throw systemFailure(CO_E_SERVER_EXEC_FAILURE, program.string());
    return process;
}

void letGo(const Descriptor& channel, const fs::path& program) {
    const char go = 1;
    ::send(channel.get(), &go, sizeof go, MSG_NOSIGNAL);
    int error = 0;
    if (receive(channel, &error, sizeof error)) throw systemFailure(CO_E_SERVER_EXEC_FAILURE, program.string(), error);
}

}  // namespace

bool StartedProgram::hasEndedIn(std::chrono::milliseconds time) const {
    pollfd waited = {process_.get(), POLLIN, 0};
    return ::poll(&waited, 1, static_cast<int>(time.count())) > 0;
}

StartedProgram startProgram(const fs::path& program) {
    refuseWhatIsNotToBeStarted(program);
    Channel channel = newChannel();
    forkTwice(channel.program.get(), program);
    channel.program.close();
    Descriptor process = processAt(channel.starter, program);
    letGo(channel.starter, program);
    return StartedProgram(std::move(process));
}

}  // namespace Korvex::Com
