#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <future>
#include <numeric>
#include <thread>

#include "com/portable/local/socket_address.h"
#include "tests/com/local/LocalFixture.h"

namespace Korvex::Testing {
namespace {

using namespace std::chrono_literals;
using Com::Deadline;
using Com::LocalListener;
using Com::LocalSocket;
using Com::RuntimeFolder;
using Result = LocalSocket::Result;

using Sockets = Local;

struct Pair {
    explicit Pair(const std::array<int, 2>& ends = newEnds())
        : left(Com::Descriptor(ends[0])), right(Com::Descriptor(ends[1])) {}

    static std::array<int, 2> newEnds() {
        std::array<int, 2> ends = {};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        return ends;
    }

    LocalSocket left;
    LocalSocket right;
};

std::vector<std::byte> someBytes(std::size_t size) {
    std::vector<std::byte> bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::byte>(i * 7 + i / 251);
    return bytes;
}

TEST_F(Sockets, MessagesOfManyPartsComeWholeHoweverLong) {
    for (const Deadline& deadline : {Deadline::never(), Deadline::in(1h)}) {
        Pair pair;
        auto sent = someBytes(3'000'000);
        std::vector<iovec> parts = {{nullptr, 0}};
        for (std::size_t at = 0; at < sent.size(); at += 1000) parts.push_back({&sent[at], 1000});
        parts.push_back({nullptr, 0});
        std::thread writer([&] { EXPECT_EQ(pair.left.write(parts, deadline), Result::done); });
        std::vector<std::byte> got(sent.size());
        EXPECT_EQ(pair.right.read(std::span(got).first(1'234'567), deadline), Result::done);
        EXPECT_EQ(pair.right.read(std::span(got).subspan(1'234'567), deadline), Result::done);
        writer.join();
        EXPECT_EQ(got, sent);
    }
}

TEST_F(Sockets, ADeadlineEndsReadingAndWriting) {
    Pair pair;
    auto bytes = someBytes(16'000'000);
    const iovec all = {bytes.data(), bytes.size()};
    EXPECT_EQ(pair.left.read(std::span(bytes).first(1), Deadline::in(1ms)), Result::timedOut);
    EXPECT_EQ(pair.left.write({&all, 1}, Deadline::in(1ms)), Result::timedOut) << "nobody reads";
    EXPECT_EQ(pair.right.read(std::span(bytes).first(100), Deadline::in(0ms)), Result::done) << "what is there";
}

TEST_F(Sockets, AnEndThatIsGoneIsToldWithoutASignal) {
    auto ends = Pair::newEnds();
    LocalSocket left{Com::Descriptor(ends[0])};
    ::close(ends[1]);
    std::byte byte = {};
    const iovec one = {&byte, 1};
    for (const Deadline& deadline : {Deadline::never(), Deadline::in(1h)}) {
        EXPECT_EQ(left.write({&one, 1}, deadline), Result::closed);
        EXPECT_EQ(left.read({&byte, 1}, deadline), Result::closed);
    }
}

TEST_F(Sockets, ShuttingDownWakesWhoeverReads) {
    for (const Deadline& deadline : {Deadline::never(), Deadline::in(1h)}) {
        Pair pair;
        std::promise<void> reads;
        std::thread reader([&] {
            std::byte byte = {};
            reads.set_value();
            EXPECT_EQ(pair.left.read({&byte, 1}, deadline), Result::closed);
        });
        reads.get_future().wait();
        std::this_thread::sleep_for(10ms);  // so that it waits by now, as a rule
        pair.left.shutdown();
        reader.join();
    }
}

TEST_F(Sockets, ProgramsAreReachedByTheNamesOfTheirSockets) {
    const Variable deep("KORVEX_OPC_RUNTIME", (folder / std::string(200, 'd')).string());  // longer than an address
    LocalListener listener(RuntimeFolder::open());
    std::unique_ptr<LocalSocket> client;
    ASSERT_EQ(LocalSocket::connect(RuntimeFolder::open(), listener.name(), Deadline::in(1h), client), S_OK);
    const auto server = listener.accept();
    ASSERT_TRUE(server);
    send(*client, "question");
    EXPECT_EQ(receive(*server), "question");
    send(*server, "answer");
    EXPECT_EQ(receive(*client), "answer");
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename());
        std::error_code ended;
        if (fs::read_symlink(entry, ended).string().find("socket:") != 0) continue;
        EXPECT_TRUE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) << "programs that the application starts get none";
    }
}

TEST_F(Sockets, AProgramThatListensNoMoreIsUnavailable) {
    auto runtimeFolder = RuntimeFolder::open();
    LocalListener listener(RuntimeFolder::open());
    std::thread waiting([&] { EXPECT_FALSE(listener.accept()); });
    std::this_thread::sleep_for(10ms);  // so that it waits by now, as a rule
    listener.shutdown();
    waiting.join();
    EXPECT_TRUE(namesIn(runtime, ".socket").empty());
    std::unique_ptr<LocalSocket> client;
    EXPECT_EQ(LocalSocket::connect(runtimeFolder, listener.name(), Deadline::in(1h), client), kServerUnavailable);
    EXPECT_NE(LocalSocket::connect(runtimeFolder, "../name", Deadline::in(1h), client), S_OK);
    EXPECT_FALSE(client);
}

Com::Descriptor listenRaw(const RuntimeFolder& folder, const std::string& name) {
    Com::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = Com::socketAddress(folder, name);
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address), 0);
    EXPECT_EQ(::listen(socket.get(), 0), 0);
    return socket;
}

TEST_F(Sockets, ConnectingToAProgramThatTakesNoConnectionsEndsAtTheDeadline) {
    const auto runtimeFolder = RuntimeFolder::open();
    const auto busy = listenRaw(runtimeFolder, "busy");
    std::vector<std::unique_ptr<LocalSocket>> waiting(1);
    HRESULT hr = S_OK;
    while (waiting.size() < 10 &&
           (hr = LocalSocket::connect(runtimeFolder, "busy", Deadline::in(5ms), waiting.back())) == S_OK)
        waiting.emplace_back();
    EXPECT_EQ(hr, kCallTimedOut);
}

TEST_F(Sockets, ANewProgramRemovesTheSocketsOfCrashedOnes) {
    {
        const auto runtimeFolder = RuntimeFolder::open();
        listenRaw(runtimeFolder, "crashed.socket");
    }
    LocalListener first(RuntimeFolder::open());
    LocalListener second(RuntimeFolder::open());
    EXPECT_EQ(namesIn(runtime, ".socket"), (std::set<std::string>{first.name(), second.name()}));
}

TEST_F(Sockets, AnotherUsersProgramIsRefusedAtBothEnds) {
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can be another user";
    const auto runtimeFolder = RuntimeFolder::open();
    const auto strange = listenRaw(runtimeFolder, "strange");
    asAnotherUser([&] { EXPECT_EQ(::listen(strange.get(), 1), 0); });
    std::unique_ptr<LocalSocket> client;
    EXPECT_EQ(LocalSocket::connect(runtimeFolder, "strange", Deadline::in(1h), client), E_ACCESSDENIED);
    EXPECT_FALSE(client);

    LocalListener listener(RuntimeFolder::open());
    const auto address = Com::socketAddress(runtimeFolder, listener.name());
    fs::permissions(folder, fs::perms(0755));
    fs::permissions(runtime, fs::perms(0755));
    fs::permissions(runtime / listener.name(), fs::perms(0777));
    const Com::Descriptor stranger(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    asAnotherUser([&] {
        ASSERT_EQ(::connect(stranger.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address), 0);
    });
    ASSERT_EQ(LocalSocket::connect(runtimeFolder, listener.name(), Deadline::in(1h), client), S_OK);
    send(*client, "mine");
    EXPECT_EQ(receive(*listener.accept()), "mine") << "the stranger came first";
}

}  // namespace
}  // namespace Korvex::Testing
