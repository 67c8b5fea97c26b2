/// A short way to an OPC Data Access server, over the object API:
///
///     Korvex::Connection plant("opcda://localhost/Korvex.Simulation.1");
///     std::cout << plant.read("Signal.Ramp").text() << '\n';
///     plant.write("Register.Double", 21.5);
///     auto subscription = plant.subscribe({"Signal.Ramp"}, [](const Korvex::Reading& reading) { ... });
///
/// Text is UTF-8. A call that fails throws `OPC::OpcDaClient::OPCException`, a bad argument
/// `OPC::OpcDaClient::ArgumentException`, both of them `std::exception`s; an error of a single item is its result
/// and never thrown.
#pragma once

#if __cplusplus < 202002L && (!defined(_MSVC_LANG) || _MSVC_LANG < 202002L)
#error "korvex/client.h needs C++20: compile with -std=c++20 or /std:c++20"
#endif

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <korvex/detail/Dispatch.h>
#include <korvex/opc_cmn/OpcServerEnum.h>
#include <korvex/opc_da_client/DaServerMgt.h>
#include <korvex/text.h>

namespace Korvex {

using OPC::OpcDaClient::DateTime;
using OPC::OpcDaClient::Decimal;
using OPC::OpcDaClient::Object;
using OPC::OpcDaClient::OPCException;
using OPC::OpcDaClient::QualityID;
using OPC::OpcDaClient::ResultID;
using OPC::OpcDaClient::ServerState;

/// How to connect and to keep the connection.
struct ConnectOptions {
    /// The locale to ask the server for: "en", "en-gb", "de", "fr", "it" or "es". It decides how numbers and dates
    /// in text are read and written.
    std::string locale = "en";
    /// The time between two probes of the server, in whole milliseconds, at least two seconds.
    std::chrono::milliseconds keepAlive{10'000};
    /// A server that cannot be reached at first is tried again and again. Write the class identifier into the URL
    /// then, since a ProgID is looked up only once.
    bool retryInitially = false;
    /// A connection that is lost is made anew, with its subscriptions.
    bool reconnect = true;
    /// Takes each new state of the connection, on the library's threads and on that of the constructor.
    std::function<void(ServerState)> onState;
};

/// How to subscribe.
struct SubscribeOptions {
    /// The wanted time between two changes, in whole milliseconds; 0 is the fastest that the server has.
    std::chrono::milliseconds rate{1000};
    /// The percentage of its range, 0 to 100, by which an analog item has to change.
    float deadband = 0;
};

/// An item with its result, and whether that is a success.
struct ItemResult {
    std::string name;    ///< the item's
    ResultID result{0};  ///< the server's or the library's answer for the item

    /// Returns true if the call succeeded for this item.
    explicit operator bool() const noexcept { return result.Succeeded(); }
    /// Returns the result as a sentence.
    std::string message() const { return toUtf8(result.Description()); }
};

/// The value of an item, with its quality and time.
struct Reading : ItemResult {
    Object value;                      ///< null where there is none
    std::optional<QualityID> quality;  ///< nothing where the item could not be read
    DateTime time;                     ///< UTC

    /// Returns true for a value that was read with good quality.
    bool isGood() const noexcept { return result.Succeeded() && quality && quality->IsGood(); }
    /// Returns the value as text; "" where there is none.
    std::string text() const { return toUtf8(value.toText()); }
    /// Returns the value if it is a T, else null. An integer is kept by its size and sign, text as `OpxString`.
    template <typename T>
    const auto* as() const noexcept {
        return value.tryGet<T>();
    }
};

/// A value to write.
struct Assignment {
    std::string name;  ///< the item's
    Object value;      ///< converted to the item's type by the connection's locale
};

/// A child of a branch.
struct Element {
    std::string name;    ///< within its branch, for display
    std::string itemId;  ///< what reads, writes, subscribes and browses on
    /// Whether it can be read or written.
    bool isItem = false;
    /// Whether elements lie below it.
    bool hasChildren = false;
};

/// A property of an item.
struct Property {
    /// The number of the property.
    std::int32_t id = 0;
    /// The server's description of the property.
    std::string description;
    Object value;        ///< null where there is none
    std::string itemId;  ///< the item that is this property; "" where there is none
    ResultID result{0};  ///< why there is no value
};

/// The elements below a branch, fetched a page at a time while they are walked over. Walk over it once.
class Elements {
public:
    /// An input iterator; it refers to its range.
    class Iterator {
    public:
        /// The type of the elements.
        using value_type = Element;
        /// As iterators must have it.
        using difference_type = std::ptrdiff_t;

        /// The current element.
        const Element& operator*() const { return elements_->page_[elements_->position_]; }
        /// The current element.
        const Element* operator->() const { return &**this; }
        /// Goes on, fetching the next page where needed.
        Iterator& operator++() {
            elements_->advance();
            return *this;
        }
        /// Goes on, fetching the next page where needed.
        void operator++(int) { ++*this; }
        /// Whether there are no more.
        bool operator==(std::default_sentinel_t) const { return elements_->isAtEnd(); }

    private:
        friend class Elements;
        explicit Iterator(Elements& elements) : elements_(&elements) {}
        Elements* elements_;
    };

    /// Fetches the first page.
    Iterator begin() {
        if (!begun_) fetch();
        return Iterator(*this);
    }
    /// The end.
    std::default_sentinel_t end() const noexcept { return {}; }

private:
    friend class Connection;
    static constexpr std::int32_t kPageSize = 500;

    Elements(std::shared_ptr<detail::Session> session, std::string_view branch)
        : session_(std::move(session)), branch_(branch) {}

    bool isAtEnd() const noexcept { return position_ == page_.size(); }

    void advance() {
        if (++position_ == page_.size() && hasMore()) fetch();
    }

    bool hasMore() const { return !continuationPoint_.valueOrEmpty().empty(); }

    /// A page may be empty although more follow.
    void fetch() {
        begun_ = true;
        do {
            fetchPage();
        } while (page_.empty() && hasMore());
    }

    void fetchPage() {
        using namespace OPC::OpcDaClient;
        NullableArray<BrowseElement> found;
        bool more = false;
        session_->server.Browse(branch_, "", continuationPoint_, kPageSize, BrowseFilter::ALL, nullptr, false, false,
                                found, more);
        page_.clear();
        position_ = 0;
        for (const BrowseElement& each : found.value()) {
            page_.push_back({toUtf8(each.Name().valueOrEmpty()), toUtf8(each.ItemName().valueOrEmpty()), each.IsItem(),
                             each.HasChildren()});
        }
    }

    std::shared_ptr<detail::Session> session_;
    OPC::OpcDaClient::NullableText branch_;
    OPC::OpcDaClient::NullableText continuationPoint_ = "";
    std::vector<Element> page_;
    std::size_t position_ = 0;
    bool begun_ = false;
};

/// Owns a subscription: its handler is called until it is cancelled or destroyed. Movable.
class Subscription {
public:
    /// Owns nothing.
    Subscription() noexcept = default;
    /// Takes the subscription over.
    Subscription(Subscription&&) noexcept = default;
    /// Ends this subscription and takes the other over.
    Subscription& operator=(Subscription&& other) noexcept {
        if (this == &other) return *this;
        cancel();
        session_ = std::move(other.session_);
        receiver_ = std::move(other.receiver_);
        handle_ = other.handle_;
        revisedRate_ = other.revisedRate_;
        refused_ = std::move(other.refused_);
        return *this;
    }
    /// Cancels.
    ~Subscription() { cancel(); }

    /// Ends the subscription. When it returns, the handler has ended and is not called again; called from inside
    /// the handler it does not wait for it. A server that cannot be asked any more is not waited for.
    void cancel() noexcept {
        if (!receiver_) return;
        session_->dispatch->removeReceiver(*receiver_);
        try {
            session_->server.SubscriptionCancel(handle_);
        } catch (const std::exception&) {
            /// The connection or the server is gone, and the subscription with it.
        }
        receiver_.reset();
        session_.reset();
    }

    /// Returns the rate that the server settled on.
    std::chrono::milliseconds revisedRate() const noexcept { return revisedRate_; }
    /// Returns the items that the server refused. They are not part of the subscription.
    const std::vector<ItemResult>& refused() const noexcept { return refused_; }

private:
    friend class Connection;

    std::shared_ptr<detail::Session> session_;
    std::shared_ptr<detail::Receiver> receiver_;
    std::int32_t handle_ = 0;
    std::chrono::milliseconds revisedRate_{0};
    std::vector<ItemResult> refused_;
};

/// A connection to a server. Movable; its methods may be called from any thread.
///
/// Handlers run on threads of the library and of COM, several at once perhaps; what they throw is left in the trace.
/// Do not destroy the connection from inside a handler.
class Connection {
public:
    /// Connects to the server of `url`, "opcda://host/ProgID" or "opcda://host/ProgID/{CLSID}".
    explicit Connection(std::string_view url, ConnectOptions options = {})
        : session_(std::make_shared<detail::Session>()) {
        using namespace OPC::OpcDaClient;
        session_->listen(std::move(options.onState));
        ConnectInfo info(options.locale, options.retryInitially, options.reconnect,
                         static_cast<std::int32_t>(options.keepAlive.count()));
        bool connectFailed = false;
        session_->server.Connect(url, 0, &info, connectFailed);
    }
    /// Takes the connection over.
    Connection(Connection&&) noexcept = default;
    /// Ends this connection and takes the other over.
    Connection& operator=(Connection&& other) noexcept {
        if (this == &other) return *this;
        disconnect();
        session_ = std::move(other.session_);
        return *this;
    }
    /// Disconnects. Subscriptions end with it, and their handlers have ended when it returns.
    ~Connection() { disconnect(); }

    /// Returns the last known state of the server.
    ServerState state() const noexcept { return session_->server.ServerState(); }

    /// Reads an item. Values of the server's cache that are not older than `maxAge`, in whole milliseconds, will do;
    /// 0 asks the device.
    Reading read(std::string_view name, std::chrono::milliseconds maxAge = {}) {
        return read(std::vector<std::string>{std::string(name)}, maxAge).front();
    }

    /// Reads items in one call, and returns one reading a name in their order.
    std::vector<Reading> read(const std::vector<std::string>& names, std::chrono::milliseconds maxAge = {}) {
        using namespace OPC::OpcDaClient;
        NullableArray<ItemIdentifier> items(identifiersOf(names));
        NullableArray<ItemValue> values;
        session_->server.Read(static_cast<std::int32_t>(maxAge.count()), items, values);
        std::vector<Reading> readings(names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            readings[i] = readingOf(names[i], items[i].ResultID(), values[i]);
        }
        return readings;
    }

    /// Reads items without waiting. The future throws OPCException when the read fails or the connection is lost.
    std::future<std::vector<Reading>> readAsync(std::vector<std::string> names, std::chrono::milliseconds maxAge = {}) {
        return completed<Reading>(std::move(names), [&](std::int32_t transaction, Identifiers& items) {
            session_->server.ReadAsync(transaction, static_cast<std::int32_t>(maxAge.count()), items);
        });
    }

    /// Writes a value, and returns the item's result.
    ItemResult write(std::string_view name, Object value) {
        return write({{std::string(name), std::move(value)}}).front();
    }

    /// Writes values in one call, and returns one result a value in their order.
    std::vector<ItemResult> write(const std::vector<Assignment>& assignments) {
        const std::vector<std::string> names = namesOf(assignments);
        Identifiers items(identifiersOf(names));
        session_->server.Write(items, valuesOf(assignments));
        return resultsOf(names, items);
    }

    /// Writes values without waiting. The future throws as that of `readAsync` does.
    std::future<std::vector<ItemResult>> writeAsync(const std::vector<Assignment>& assignments) {
        return completed<ItemResult>(namesOf(assignments), [&](std::int32_t transaction, Identifiers& items) {
            session_->server.WriteAsync(transaction, items, valuesOf(assignments));
        });
    }

    /// Subscribes to items: `handler` takes a Reading a changed item, or all of a change as
    /// `const std::vector<Reading>&`, whichever it can be called with. It is called from now on, perhaps before
    /// this returns, until the Subscription is cancelled or destroyed.
    template <typename Handler>
    [[nodiscard]] Subscription subscribe(const std::vector<std::string>& names, Handler handler,
                                         SubscribeOptions options = {}) {
        Subscription made;
        made.session_ = session_;
        made.receiver_ = session_->dispatch->addReceiver(receiverOf(names, std::move(handler)));
        Identifiers items(identifiersOf(names));
        std::int32_t revised = 0;
        try {
            session_->server.Subscribe(made.receiver_->number(), true, static_cast<std::int32_t>(options.rate.count()),
                                       revised, options.deadband, items, made.handle_);
        } catch (...) {
            session_->dispatch->removeReceiver(*std::exchange(made.receiver_, nullptr));
            throw;
        }
        made.revisedRate_ = std::chrono::milliseconds(revised);
        for (ItemResult& each : resultsOf(names, items)) {
            if (!each) made.refused_.push_back(std::move(each));
        }
        return made;
    }

    /// Lists the elements below `branch`, an item ID; "" is the root.
    [[nodiscard]] Elements browse(std::string_view branch = "") { return Elements(session_, branch); }

    /// Returns the properties that the server has of an item, with their values. Throws OPCException for an item
    /// that there is not.
    std::vector<Property> properties(std::string_view name) {
        using namespace OPC::OpcDaClient;
        Identifiers items(identifiersOf({std::string(name)}));
        NullableArray<ItemProperties> found;
        session_->server.GetProperties(items, nullptr, true, true, found);
        if (!items[0].ResultID().Succeeded()) throw OPCException(items[0].ResultID());
        std::vector<Property> properties;
        for (const ItemProperty& each : found[0].RequestedItemProperties()) {
            properties.push_back({each.PropertyID(), toUtf8(each.Description().valueOrEmpty()), each.Value(),
                                  toUtf8(each.ItemName().valueOrEmpty()), each.ResultID()});
        }
        return properties;
    }

    /// Returns the object API's connection, for what this class leaves out. It must not be disconnected or disposed.
    OPC::OpcDaClient::DaServerMgt& server() noexcept { return session_->server; }

private:
    using Identifiers = OPC::OpcDaClient::NullableArray<OPC::OpcDaClient::ItemIdentifier>;

    void disconnect() noexcept {
        if (session_) session_->end();
    }

    /// An item's handle is its place in the list.
    static std::vector<OPC::OpcDaClient::ItemIdentifier> identifiersOf(const std::vector<std::string>& names) {
        std::vector<OPC::OpcDaClient::ItemIdentifier> items;
        items.reserve(names.size());
        for (const std::string& name : names) items.emplace_back(name, "", static_cast<std::int32_t>(items.size()));
        return items;
    }

    static std::vector<std::string> namesOf(const std::vector<Assignment>& assignments) {
        std::vector<std::string> names;
        for (const Assignment& each : assignments) names.push_back(each.name);
        return names;
    }

    static std::vector<OPC::OpcDaClient::ItemValue> valuesOf(const std::vector<Assignment>& assignments) {
        std::vector<OPC::OpcDaClient::ItemValue> values(assignments.size());
        for (std::size_t i = 0; i < values.size(); ++i) values[i].Value(assignments[i].value);
        return values;
    }

    static std::vector<ItemResult> resultsOf(const std::vector<std::string>& names, const Identifiers& items) {
        std::vector<ItemResult> results;
        for (std::size_t i = 0; i < names.size(); ++i) results.push_back({names[i], items[i].ResultID()});
        return results;
    }

    static Reading readingOf(const std::string& name, const ResultID& result,
                             const OPC::OpcDaClient::ItemValue& value) {
        return {{name, result}, value.Value(), value.Quality(), value.TimeStamp()};
    }

    /// A completed or changed item, to the answer that has its place.
    static void fill(Reading& reading, const OPC::OpcDaClient::ItemValueCallback& item) {
        reading = readingOf(reading.name, item.ResultID().value_or(ResultID::WIN_E_FAIL), item);
    }
    static void fill(ItemResult& result, const OPC::OpcDaClient::ItemResultCallback& item) {
        result.result = item.ResultID().value_or(ResultID::WIN_E_FAIL);
    }

    template <typename Handler>
    static detail::Receiver::Handler receiverOf(const std::vector<std::string>& names, Handler handler) {
        return [names, handler = std::move(handler)](const detail::Receiver::Items& items) mutable {
            std::vector<Reading> readings;
            readings.reserve(items.size());
            for (const auto& item : items) {
                const auto* const place = item.ClientHandle().template tryGet<std::int32_t>();
                if (!place) continue;
                Reading& reading = readings.emplace_back();
                reading.name = names.at(static_cast<std::size_t>(*place));
                fill(reading, item);
            }
            if constexpr (std::is_invocable_v<Handler&, const std::vector<Reading>&>) {
                handler(readings);
            } else {
                for (const Reading& reading : readings) handler(reading);
            }
        };
    }

    /// Starts a call without waiting. Refused items have their answers at once, the others when the call completes.
    template <typename Answer, typename Start>
    std::future<std::vector<Answer>> completed(std::vector<std::string> names, Start start) {
        const auto fillAnswer = [](Answer & answer, const auto& item) requires requires {
            fill(answer, item);
        }
        { fill(answer, item); };
        auto pending = std::make_shared<detail::PendingCall<Answer>>(names, fillAnswer);
        std::future<std::vector<Answer>> future = pending->future();
        const std::int32_t transaction = session_->dispatch->addPending(pending);
        Identifiers items(identifiersOf(names));
        try {
            start(transaction, items);
        } catch (...) {
            session_->dispatch->removePending(transaction);
            throw;
        }
        if (pending->begun(items)) session_->dispatch->removePending(transaction);
        return future;
    }

    std::shared_ptr<detail::Session> session_;
};

/// A server that a machine has.
struct Server {
    std::string url;  ///< connects to it
    /// The ProgID.
    std::string progId;
    std::string classId;  ///< with braces
};

/// Returns the data access servers of `host`; "" is this machine. Throws OPC::OpcDaClient::ComException.
inline std::vector<Server> servers(std::string_view host = "") {
    using namespace OPC::OpcCmn;
    std::vector<ServerIdentifier> found;
    OpcServerEnum().EnumComServer(host, false, {ServerCategory::OPCDA}, found);
    std::vector<Server> servers;
    for (const ServerIdentifier& each : found) {
        servers.push_back({toUtf8(each.Url().valueOrEmpty()), toUtf8(each.ProgID().valueOrEmpty()),
                           toUtf8(each.CLSID().valueOrEmpty())});
    }
    return servers;
}

}  // namespace Korvex
