// A real IOC for tests: a crate's tree, records of it, and the fake access library behind.
#pragma once

#include "FakeAccessLibrary.h"
#include "StdoutCapture.h"
#include "ZANTOnode.h"
#include "ZANTOtypes.h"

#include <callback.h>
#include <dbCommon.h>
#include <link.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using Lines = std::vector<std::string>;

constexpr int32_t crateHandle = FakeAccessLibrary::handle;
// A wait that lasts as long has failed.
constexpr std::chrono::seconds watchdog{20};

template <typename T> variant variantOf(const T &value)
{
    variant v;
    v.setValue(value);
    return v;
}

// ---- tree ----

// A parameter of channel 0 for each data type, named after it: records of any type are bound
// to these. The parameters of channel 1 have the records that the server generates.
struct DataTypeNode {
    const char *name;
    nodeDataType dataType;
    uint32_t wrapperType; // with a library call that shows the whole value
};
extern const DataTypeNode dataTypeNodes[10];

// A new tree in place of the present one, as a new login would make it.
void plantTree();
// The node "slot 0, channel, name", or of the system with a negative channel.
ZANTONode *nodeOf(const std::string &name, int channel = 0);
void give(ZANTONode *node, const variant &value);

// ---- records ----

// The records of one type in the test database are named type's word, ":00:000:", node.
struct RecordType {
    const char *name; // as in the database definition
    const char *word; // five characters, where records have the crate's name
    const char *link; // "INP" or "OUT"
    bool isInput;
};
extern const RecordType recordTypes[10];
const RecordType &recordType(const std::string &name);

// Name of the test record of this type for this node.
std::string recordOf(const std::string &type, const std::string &node);
dbCommon *record(const std::string &name);
DBLINK *linkOf(const std::string &type, const std::string &node);

double number(const std::string &field);
std::string text(const std::string &field);
// As a client puts it: processes a passive record.
void put(const std::string &field, double value);
void put(const std::string &field, const std::string &value);

// Of the IOC's callback queues, counted from 0 afterwards if `reset`.
callbackQueueStats queueStatistics(bool reset = false);

// The device support's own routines, with the record's lock held.
long callInit(const std::string &name);
long callReadOrWrite(const std::string &name);
// Stores into VAL and nothing else. For numeric records.
void setVal(const std::string &name, double value);
double val(const std::string &name);

// A client's subscription of a field.
class Monitor {
public:
    explicit Monitor(const std::string &field);
    ~Monitor();
    Monitor(const Monitor &) = delete;
    Monitor &operator=(const Monitor &) = delete;

    // Waits for `condition`, asked anew at each change of the field. False after the watchdog.
    bool until(const std::function<bool()> &condition);
    // A post of the field, for the IOC's event task.
    void posted();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_posts = 0; // guarded by m_mutex
    void *m_channel;
    void *m_subscription;
};

// Counts the calls of the library that begin with `prefix`. Takes the fake's hook.
class CallCount {
public:
    explicit CallCount(const std::string &prefix);
    // Waits; false after the watchdog.
    bool reaches(int count);

private:
    // Shared with the hook, which may still run when this is gone.
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        int count = 0; // guarded by mutex
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

// The mainframe's event connection: an event thread that gets what is sent here, or to another
// such connection. Takes the fake's hook while it is made.
class EventConnection {
public:
    EventConnection();
    ~EventConnection();
    void send(const std::vector<VEXAHVEventData_t> &batch) const;

private:
    int m_peer = -1;
    std::thread m_thread;
};

template <typename T>
VEXAHVEventData_t event(const std::string &item, const T &value, int channel = 1)
{
    return FakeAccessLibrary::event(channel < 0 ? -1 : 0, channel, item, FakeBytes::of(value));
}
VEXAHVEventData_t textEvent(const std::string &item, const std::string &value, int channel);

// ---- IOC ----

// The definition file's contents into the process and the server's registration.
void loadDefinitions();
// The same for the second definition, which goes behind the first.
void loadExtraDefinitions();
// As the shell's `var ZANTOScanChangedOnly` sets it; also before anything is loaded.
void setScanChangedOnly(bool on);
// Builds and runs an IOC of these records, once in a process, with a tree and without the
// Channel Access server. `beforeRecords` is called when the definitions are loaded.
void startIoc(const std::string &databaseText, void (*beforeRecords)() = nullptr);
// The records that the server generates for a node of channel 1, or of the system with a
// negative channel. Needs the tree.
std::string generatedRecords(const std::string &node, int channel = 1);

// Whether an event between the first processing of the records and the start of the scans
// came to its record.
bool earlyEventArrived();
// The calls of the library that the IOC's start made.
Lines callsAtStart();

// An IOC that runs, the same for all tests of the process, with a fresh tree and library for
// each of them.
class IocTest : public ::testing::Test {
protected:
    static void SetUpTestSuite(); // starts the IOC
    void SetUp() override;
    void TearDown() override;

    FakeAccessLibrary &fake = FakeAccessLibrary::instance();
};

// For IOCs of another kind, each in a child process.
class IocDeathTest : public ::testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    // What fails in `scenario` is printed by the child. It may end the process itself.
    static void inFreshProcess(const std::function<void()> &scenario);

    FakeAccessLibrary &fake = FakeAccessLibrary::instance();
};
