// Records of the server's own health and read-backs that go stale, for their tests.
#pragma once

#include "iocSupport.h"

#include "ZANTOeventconnections.h"

#include <alarm.h>
#include <dbAccess.h>
#include <dbStaticLib.h>
#include <dbState.h>

#include <cstdlib>
#include <string>

inline constexpr const char *lostRecord = "CRATE:Health:Lost";
inline constexpr const char *stateName = "ZANTO:EventsLost";
inline constexpr const char *figureNames[] = {
    "Lost",          "LastDelivery", "EventRate",   "BatchRate", "Events",  "Batches", "HeldValues",
    "ScansDeferred", "ScansRefused", "FailedCalls", "Inserted",  "Records", "Clients", "StartTime"};

// The records at whose ends there are counters, one of each list but mbbi.
inline const struct {
    const char *type;
    const char *record;
} readBacks[] = {{"ai", "CRATE:00:001:VMon"},
                 {"ai", "CRATE:00:001:VSet:RBV"},
                 {"bi", "CRATE:00:001:Pw:RBV"},
                 {"mbbiDirect", "CRATE:00:001:Mask:RBV"},
                 {"stringin", "CRATE:Text:RBV"}};

inline std::string counterOf(const std::string &record) { return "count:" + record; }

// As a site's own database puts them behind the generated records, with a counter of the times
// that the record was processed and not disabled.
inline std::string staleLinks()
{
    std::string text;
    for (const auto &readBack : readBacks) {
        const std::string counter = counterOf(readBack.record);
        text += "record(calc, \"" + counter + "\") { field(CALC, \"VAL+1\") }\n" + "record(" +
                readBack.type + ", \"" + readBack.record +
                "\") {\n  field(SDIS, {state:\"ZANTO:EventsLost\"})\n"
                "  field(DISV, \"1\")\n  field(DISS, \"INVALID\")\n  field(FLNK, \"" +
                counter + "\")\n}\n";
    }
    return text;
}

inline std::string generated()
{
    std::string text = generatedRecords("Text", -1);
    for (const char *node : {"VMon", "IMon", "VSet", "Pw", "Mask"})
        text += generatedRecords(node);
    return text;
}

inline void loadHealth()
{
    loadExtraDefinitions();
    if (dbReadDatabase(&pdbbase, ZANTO_HEALTH_DB, nullptr, "SYS=CRATE") != 0)
        std::abort();
}

inline double severityOf(const std::string &record) { return number(record + ".SEVR"); }

inline bool becomes(const std::string &record, double severity)
{
    Monitor monitor(record);
    return monitor.until([&] { return severityOf(record) == severity; });
}

inline bool allBecome(double severity)
{
    for (const auto &readBack : readBacks) {
        if (!becomes(readBack.record, severity))
            return false;
    }
    return true;
}

inline bool reaches(const std::string &field, double least)
{
    Monitor monitor(field);
    return monitor.until([&] { return number(field) >= least; });
}

// A connection of the crate, known by its number alone.
class Connection {
public:
    Connection() : m_number(ZANTOEventConnections::instance().admit(100000, true)) {}
    ~Connection() { ZANTOEventConnections::instance().remove(m_number); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

private:
    const uint64_t m_number;
};

inline bool stateIsLost() { return dbStateGet(dbStateFind(stateName)) != 0; }

class HealthDeathTest : public IocDeathTest {
protected:
    static void startWithHealth(const std::string &more = "")
    {
        startIoc(generated() + staleLinks() + more, loadHealth);
    }
};
