#include "opc/callbacks/OpxOPCDataCallback.h"

#include <atomic>
#include <future>
#include <map>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "opc/callbacks/CallbackRecords.h"
#include "opc/callbacks/unowned.h"
#include "tests/opc/callbacks/Delivery.h"
#include "tests/support/RecordingCallback.h"
#include "tests/support/SimulationSteps.h"
#include "tests/support/expected_lines.h"
#include "tests/support/rows.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;
using Opx::VType;
using OpxOpc::ComAsyncTransaction;
using OpxOpc::OpxOPCDataCallback;
using OpxOpc::OpxVariant;
using ::testing::ElementsAre;

std::vector<std::string> expected(const std::string& name) {
    return linesOf("opc/expected.trace", name);
}

constexpr std::int32_t kInvalidHandle = static_cast<std::int32_t>(0xC0040001u);
using Codes = std::vector<std::int32_t>;
constexpr LCID kGerman = 0x407;

class OpxOPCDataCallbackTest : public ::testing::Test {
protected:
    // A transaction of items 11, 12, ... with client handles 101, 102, ... and these types.
    static std::shared_ptr<ComAsyncTransaction> transactionOf(const std::vector<VType>& types) {
        std::map<std::uint32_t, std::uint32_t> positions;
        std::vector<std::uint32_t> clientHandles;
        for (std::uint32_t i = 0; i < types.size(); ++i) {
            positions[11 + i] = i;
            clientHandles.push_back(101 + i);
        }
        return std::make_shared<ComAsyncTransaction>(77, positions, types, clientHandles);
    }

    TraceCapture trace;
    RecordingCallback client;
    ComPtr<OpxOPCDataCallback> sink{new OpxOPCDataCallback(OpxOpc::unowned(&client), kGerman)};
};

Com::UniqueVariant valueOf(const std::string& type, const std::string& text) {
    const auto varType = static_cast<VARTYPE>(std::stoul(type));
    if (text == "2d") return twoDimensionalArray();
    if (text.empty()) return bareVariant(varType);
    OpxVariant value = OpxVariant::of(fromUtf8(text));
    if (varType == VT_BOOL) value = OpxVariant::of(text == "1");
    value.changeType(typeNumbered(type));
    return variantOf(value);
}

TEST_F(OpxOPCDataCallbackTest, EachItemsValueOrErrorIsToldByTheGroupsLocale) {
    const auto number = [](const std::string& text) { return std::stoul(text, nullptr, 16); };
    for (const auto& row : rowsOf("opc/callbacks/items.txt", 9)) {
        const bool isChange = row[0] == "change";
        SCOPED_TRACE(row[0] + " " + row[1] + " " + row[2] + " " + row[3] + " " + row[4]);
        Delivery delivery;
        delivery.add(12, valueOf(row[1], row[2]), static_cast<WORD>(number(row[3])),
                     hresult(static_cast<std::uint32_t>(number(row[4]))));
        const auto type = isChange ? VType::Empty : typeNumbered(row[0]);
        EXPECT_EQ(isChange ? delivery.change(*sink.get(), 3)
                           : delivery.completeRead(*sink.get(),
                                                   sink->registerTransaction(transactionOf({VType::Empty, type}))),
                  S_OK);
        const auto told = isChange ? client.dataChanges().back() : client.reads().back();
        EXPECT_EQ(told.id, isChange ? 3u : 77u);
        EXPECT_EQ(told.count, 1u);
        EXPECT_THAT(told.clientHandles, ElementsAre(isChange ? 12u : 102u));
        EXPECT_EQ(toUtf8(told.values.at(0).value.toString()), row[5]);
        EXPECT_EQ(hex(told.values[0].quality), row[6]);
        EXPECT_EQ(hex(told.masterQuality), row[8]);
        // Codes of a read are always complete; those of a data change are handed on only with S_FALSE.
        const auto code = hresult(static_cast<std::uint32_t>(number(row[7])));
        EXPECT_EQ(told.errors, !isChange || failed(code) ? Codes{code} : Codes());
        EXPECT_EQ(told.masterError, failed(code) && (isChange || row[4] != row[7]) ? S_FALSE : S_OK);
    }
}

// ---- Data changes

TEST_F(OpxOPCDataCallbackTest, TimesBefore1970AndTimesThatAreNoneBecomeTheZeroDate) {
    constexpr FILETIME kNoTime = {0xFFFFFFFF, 0xFFFFFFFF};
    Delivery()
        .add(1, variantOf(true))
        .add(2, variantOf(true), kGood, S_OK, {0, 0})
        .add(3, variantOf(true), kGood, S_OK, kNoTime)
        .change(*sink.get(), 1);
    const auto values = client.dataChanges().at(0).values;
    EXPECT_EQ(toUtf8(values[0].timestamp.toDateTimeText(1)), "2008-03-01T12:34:56.789Z");
    for (const std::size_t i : {1u, 2u}) {
        EXPECT_EQ(values[i].timestamp.time(), 0) << i;
        EXPECT_EQ(values[i].timestamp.millitm(), 0) << i;
        EXPECT_EQ(values[i].timestamp.timezone(), 0) << i;
    }
}

TEST_F(OpxOPCDataCallbackTest, AFailedDataChangeIsPassedOnWithoutItsItems) {
    Delivery delivery;
    delivery.masterError = E_FAIL;
    delivery.add(5, variantOf(std::int32_t{7}), kGood, E_FAIL).change(*sink.get(), 3);
    const auto change = client.dataChanges().at(0);
    EXPECT_EQ(change.masterError, E_FAIL);
    EXPECT_TRUE(change.values.at(0).value.isEmpty());
    EXPECT_TRUE(change.errors.empty());
}

TEST_F(OpxOPCDataCallbackTest, ArraysThatTheServerLeavesOutCostTheItemsOnly) {
    const auto transaction = [&] { return sink->registerTransaction(transactionOf({VType::Empty})); };
    for (const std::string missing : {"v", "q", "t", "e", "errors that S_FALSE announces"}) {
        SCOPED_TRACE(missing);
        Delivery delivery;
        delivery.missing = missing.substr(0, 1);
        delivery.masterError = missing.size() > 1 ? S_FALSE : S_OK;
        delivery.add(11, variantOf(std::int32_t{7}));
        const bool isCostly = missing != "t" && missing != "e";

        EXPECT_EQ(delivery.change(*sink.get(), 3), S_OK);
        const auto change = client.dataChanges().back();
        EXPECT_EQ(change.values.at(0).value.isEmpty(), isCostly);
        EXPECT_EQ(change.clientHandles.size(), 1u);
        EXPECT_EQ(change.errors, isCostly ? Codes{E_FAIL} : Codes());
        EXPECT_EQ(delivery.completeRead(*sink.get(), transaction()), S_OK);
        EXPECT_THAT(client.reads().back().errors, ElementsAre(isCostly ? E_FAIL : S_OK));
        EXPECT_EQ(client.reads().back().masterError, isCostly ? S_FALSE : S_OK);
        EXPECT_EQ(delivery.completeWrite(*sink.get(), transaction()), S_OK);
        EXPECT_EQ(client.writes().back().clientHandles.size(), 1u);
        EXPECT_EQ(client.writes().back().errors, missing.size() > 1 ? Codes{E_FAIL} : Codes());
    }
}

TEST_F(OpxOPCDataCallbackTest, ACountWithoutHandlesIsNoItems) {
    constexpr DWORD kPromised = 0xFFFFFFFF;
    const auto transaction = [&] { return sink->registerTransaction(transactionOf({VType::Empty})); };
    EXPECT_EQ(sink->OnDataChange(0, 3, S_OK, S_OK, kPromised, nullptr, nullptr, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(
        sink->OnReadComplete(transaction(), 3, S_OK, S_OK, kPromised, nullptr, nullptr, nullptr, nullptr, nullptr),
        S_OK);
    EXPECT_EQ(sink->OnWriteComplete(transaction(), 3, S_OK, kPromised, nullptr, nullptr), S_OK);
    for (const auto& told : {client.dataChanges().at(0), client.reads().at(0), client.writes().at(0)}) {
        EXPECT_EQ(told.count, 0u);
        EXPECT_TRUE(told.clientHandles.empty() && told.values.empty() && told.errors.empty());
    }
}

TEST(CallbackRecords, OfOneCallbackShareOneTimeThatIsAskedForOnce) {
    const OpxOpc::CallbackRecords records(300'000);
    const auto millisecondsOf = [](const OpxOpc::OpxDate& date) { return date.time() * 1000 + date.millitm(); };
    EXPECT_EQ(millisecondsOf(records.values.front().timestamp), millisecondsOf(records.values.back().timestamp));
}

TEST_F(OpxOPCDataCallbackTest, TheTraceShowsTheParametersOfADataChange) {
    trace.clear();
    Delivery().add(5, variantOf(std::int32_t{7})).add(6, variantOf(true), kGood, E_FAIL).change(*sink.get(), 3);
    EXPECT_EQ(trace.texts(), expected("TheTraceShowsTheParametersOfADataChange"));
}

// ---- Completions of reads

TEST_F(OpxOPCDataCallbackTest, AFailedReadIsPassedOnUnconverted) {
    Delivery delivery;
    delivery.masterError = E_FAIL;
    delivery.masterQuality = S_FALSE;
    delivery.add(11, variantOf(1.5)).add(99, variantOf(1.5));
    delivery.completeRead(*sink.get(), sink->registerTransaction(transactionOf({VType::String})));
    const auto read = client.reads().at(0);
    EXPECT_EQ(read.masterError, E_FAIL);
    EXPECT_EQ(read.masterQuality, S_FALSE);
    EXPECT_THAT(read.clientHandles, ElementsAre(101u, 0u));
    EXPECT_THAT(read.errors, ElementsAre(S_OK, kInvalidHandle));
    EXPECT_TRUE(read.values.at(0).value.isEmpty());
}

// ---- Completions of either kind

TEST_F(OpxOPCDataCallbackTest, AnItemThatWasNotAskedForIsAnInvalidHandle) {
    const std::string line = "Error: OPCDataCallback::OnReadComplete - can not find handle";
    Delivery delivery;
    delivery.add(11, variantOf(true)).add(99, variantOf(true)).add(12, variantOf(true));

    delivery.completeRead(*sink.get(), sink->registerTransaction(transactionOf({VType::Empty, VType::Empty})));
    delivery.completeWrite(*sink.get(), sink->registerTransaction(transactionOf({VType::Empty, VType::Empty})));

    for (const auto& told : {client.reads().at(0), client.writes().at(0)}) {
        EXPECT_EQ(told.masterError, S_FALSE);
        EXPECT_THAT(told.clientHandles, ElementsAre(101u, 0u, 102u));
        EXPECT_THAT(told.errors, ElementsAre(S_OK, kInvalidHandle, S_OK));
    }
    EXPECT_EQ(trace.count(line), 2u) << "writes report it under the read's name";
}

TEST_F(OpxOPCDataCallbackTest, AWriteCompletionHandsCodesOnOnlyWithsFALSE) {
    struct Case {
        HRESULT master;
        std::vector<std::int32_t> errors;
        std::uint32_t clientHandle;
    };
    const Case cases[] = {{S_OK, {}, 101}, {S_FALSE, {E_FAIL}, 101}, {E_FAIL, {}, 0}};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.master);
        Delivery delivery;
        delivery.masterError = each.master;
        delivery.add(11, variantOf(true), kGood, E_FAIL);
        delivery.completeWrite(*sink.get(), sink->registerTransaction(transactionOf({VType::Empty})));
        const auto write = client.writes().back();
        EXPECT_EQ(write.id, 77u);
        EXPECT_EQ(write.masterError, each.master);
        EXPECT_EQ(write.errors, each.errors);
        EXPECT_THAT(write.clientHandles, ElementsAre(each.clientHandle));
    }
}

TEST_F(OpxOPCDataCallbackTest, ATransactionEndsWithItsCompletionItsRemovalOrItsSink) {
    auto completed = transactionOf({VType::Empty});
    auto removed = transactionOf({VType::Empty});
    auto waiting = transactionOf({VType::Empty});
    const std::weak_ptr<ComAsyncTransaction> watched[] = {completed, removed, waiting};
    EXPECT_NE(completed->key(), 0u);
    EXPECT_NE(completed->key(), removed->key());

    const auto key = sink->registerTransaction(std::move(completed));
    const auto removedKey = sink->registerTransaction(std::move(removed));
    sink->registerTransaction(std::move(waiting));
    trace.clear();

    Delivery().add(11, variantOf(true)).completeRead(*sink.get(), key);
    EXPECT_TRUE(watched[0].expired());
    EXPECT_EQ(trace.texts(), expected("ATransactionEndsWithItsCompletionItsRemovalOrItsSink"));
    sink->removeTransaction(removedKey);
    sink->removeTransaction(removedKey);
    EXPECT_TRUE(watched[1].expired());
    EXPECT_FALSE(watched[2].expired());
    EXPECT_EQ(sink.release(), 0u);
    EXPECT_TRUE(watched[2].expired());
    EXPECT_TRUE(trace.has("Dtor OPCDataCallback"));
}

TEST_F(OpxOPCDataCallbackTest, ACompletionThatComesOnSeveralThreadsAtOnceIsToldOnce) {
    constexpr int kRounds = 300;
    for (int i = 0; i < kRounds; ++i) {
        const auto key = sink->registerTransaction(transactionOf({VType::String}));
        std::atomic<bool> go = false;
        const auto complete = [&] {
            while (!go) std::this_thread::yield();
            Delivery().add(11, variantOf(1.5)).completeRead(*sink.get(), key);
        };
        std::thread first(complete);
        std::thread second(complete);
        go = true;
        first.join();
        second.join();
    }
    EXPECT_EQ(client.reads().size(), std::size_t{kRounds});
    EXPECT_EQ(trace.count("<== OPCDataCallback::OnReadComplete - can not find transaction"), std::size_t{kRounds});
    const auto last = sink->registerTransaction(transactionOf({VType::Empty}));
    std::thread other([&] { Delivery().add(11, variantOf(true)).completeWrite(*sink.get(), last); });
    other.join();
    EXPECT_EQ(client.writes().size(), 1u) << "no lock is left behind";
}

TEST_F(OpxOPCDataCallbackTest, ADetachedSinkTellsItsClientNothing) {
    const auto key = sink->registerTransaction(transactionOf({VType::Empty}));
    sink->detach();
    Delivery delivery;
    delivery.add(11, variantOf(true));
    EXPECT_EQ(delivery.change(*sink.get(), 1), S_OK);
    EXPECT_EQ(delivery.completeRead(*sink.get(), key), S_OK);
    EXPECT_EQ(delivery.completeWrite(*sink.get(), key), S_OK);
    EXPECT_TRUE(client.dataChanges().empty() && client.reads().empty() && client.writes().empty());
    for (const char* callback : {"OnDataChange", "OnReadComplete", "OnWriteComplete"}) {
        EXPECT_TRUE(trace.has(std::string("<== OPCDataCallback::") + callback + " - callback pointer is NULL"));
    }
}

TEST_F(OpxOPCDataCallbackTest, AnUnknownTransactionHoldsUpOtherThreadsCompletionsButNothingElse) {
    for (const bool isRead : {true, false}) {
        // The other thread waits for ever, so what it uses must live as long.
        static auto* const clients = new RecordingCallback[2];
        auto& told = clients[isRead];
        auto* const stuck = new OpxOPCDataCallback(OpxOpc::unowned(&told), kGerman);
        stuck->AddRef();
        const auto complete = [stuck](bool read, DWORD key) {
            Delivery delivery;
            delivery.add(11, variantOf(true));
            return read ? delivery.completeRead(*stuck, key) : delivery.completeWrite(*stuck, key);
        };
        const auto key = stuck->registerTransaction(transactionOf({VType::Empty}));
        EXPECT_EQ(complete(isRead, key + 1000), S_OK);
        EXPECT_TRUE(trace.has(std::string("<== OPCDataCallback::On") + (isRead ? "Read" : "Write") +
                              "Complete - can not find transaction"));
        std::thread([complete, key, isRead] { complete(!isRead, key); }).detach();
        auto others = std::async(std::launch::async, [&] {
            Delivery().add(11, variantOf(true)).change(*stuck, 1);
            stuck->removeTransaction(stuck->registerTransaction(transactionOf({VType::Empty})));
        });
        ASSERT_EQ(others.wait_for(std::chrono::seconds(5)), std::future_status::ready);
        EXPECT_EQ(told.dataChanges().size(), 1u);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        EXPECT_TRUE(told.reads().empty() && told.writes().empty()) << "the completion waits";
        stuck->detach();
        EXPECT_NE(stuck->Release(), 0u) << "the sink outlives its owner";
        EXPECT_FALSE(trace.has("Dtor OPCDataCallback"));
        EXPECT_EQ(stuck->OnCancelComplete(key, 1), S_OK);
    }
}

class ThrowingCallback : public RecordingCallback {
    using Handles = std::vector<std::uint32_t>;
    using Values = std::vector<OpxOpc::OpxItemValue>;
    void DataChange(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const Handles&, const Values&,
                    const Codes&) override {
        throw std::runtime_error("client");
    }
    void ReadComplete(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const Handles&, const Values&,
                      const Codes&) override {
        throw 1;
    }
    void WriteComplete(std::uint32_t, std::int32_t, std::uint32_t, const Handles&, const Codes&) override {
        throw std::runtime_error("client");
    }
};

TEST_F(OpxOPCDataCallbackTest, WhatAClientThrowsDoesNotReachTheServer) {
    ThrowingCallback thrower;
    ComPtr<OpxOPCDataCallback> told(new OpxOPCDataCallback(OpxOpc::unowned(&thrower), kGerman));
    Delivery delivery;
    delivery.add(11, variantOf(true));
    EXPECT_EQ(delivery.change(*told.get(), 1), S_OK);
    EXPECT_EQ(delivery.completeRead(*told.get(), told->registerTransaction(transactionOf({VType::Empty}))), S_OK);
    EXPECT_EQ(delivery.completeWrite(*told.get(), told->registerTransaction(transactionOf({VType::Empty}))), S_OK);
    EXPECT_EQ(trace.textsWith("Unexpected Error").size(), 3u);
}

TEST_F(OpxOPCDataCallbackTest, CallbacksOfSeveralThreadsOverlapWithEachOtherAndWithDetaching) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 50;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, own = sink] {
            for (int i = 0; i < kRounds; ++i) {
                const ComPtr<OpxOPCDataCallback> borrowed = own;
                const auto key = own->registerTransaction(transactionOf({VType::String}));
                Delivery().add(1, variantOf(std::int32_t{i})).change(*own.get(), 1);
                Delivery().add(11, variantOf(std::int32_t{i})).completeRead(*own.get(), key);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(client.dataChanges().size(), std::size_t{kThreads * kRounds});
    EXPECT_EQ(client.reads().size(), std::size_t{kThreads * kRounds});

    std::thread late([own = sink] { Delivery().add(1, variantOf(true)).change(*own.get(), 1); });
    sink->detach();
    late.join();
    EXPECT_EQ(sink.release(), 0u);
}

TEST_F(OpxOPCDataCallbackTest, ItIsAnUnknownAndADataCallbackOnly) {
    void* object = nullptr;
    EXPECT_EQ(sink->QueryInterface(IID_IOPCDataCallback, nullptr), E_INVALIDARG);
    EXPECT_EQ(sink->QueryInterface(IID_IOPCShutdown, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    for (const IID* iid : {&IID_IUnknown, &IID_IOPCDataCallback}) {
        ASSERT_EQ(sink->QueryInterface(*iid, &object), S_OK);
        EXPECT_EQ(static_cast<IUnknown*>(object)->Release(), 1u);
    }
}

}  // namespace
}  // namespace Korvex::Testing
