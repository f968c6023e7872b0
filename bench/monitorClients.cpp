// Many clients in one process, each with a context and so with connections of its own: monitors
// records and keeps the moments at which the first one of each client changed. For
// bench/scale.py; counts and names come from there.

#include <cadef.h>
#include <epicsEvent.h>
#include <pv/clientFactory.h>
#include <pv/pvData.h>
#include <pva/client.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr const char *usage =
    "Usage: %s ca|pva\n"
    "Reads a line of record names for each client, and an empty line. Says \"connected\" when each\n"
    "name has shown a value. Each line \"take\" prints, for the first record of each client,\n"
    "client, moment (CLOCK_MONOTONIC) and value of every update since the last one, and \"taken\"\n"
    "with the number of updates of all records. Ends with its input.\n";

using Names = std::vector<std::string>;

struct Update {
    std::size_t client;
    double seconds;
    double value;
};

// What all clients have seen. Any thread may call anything.
class Journal {
public:
    explicit Journal(std::size_t monitors) : m_silent(monitors) {}

    void note(std::size_t client, bool isFirstRecord, double value)
    {
        const std::chrono::duration<double> now =
            std::chrono::steady_clock::now().time_since_epoch();
        ++m_count;
        if (!isFirstRecord)
            return;
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_updates.push_back({client, now.count(), value});
    }

    void begins()
    {
        --m_silent;
        m_begun.signal();
    }

    // Blocks until no more than that many monitors have shown nothing.
    void awaitSilent(std::size_t most)
    {
        while (m_silent > most)
            m_begun.wait();
    }

    void print()
    {
        std::vector<Update> updates;
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            updates.swap(m_updates);
        }
        for (const Update &update : updates)
            std::printf("%zu %.6f %.9g\n", update.client, update.seconds, update.value);
        std::printf("taken %zu\n", m_count.exchange(0));
        std::fflush(stdout);
    }

private:
    std::atomic<std::size_t> m_silent;
    epicsEvent m_begun;
    std::atomic<std::size_t> m_count{0};
    std::mutex m_mutex;
    std::vector<Update> m_updates; // guarded by m_mutex
};

// One monitored record of one client; lives as long as the process.
class Monitored {
public:
    Monitored(Journal &journal, std::size_t client, bool isFirstRecord)
        : m_journal(journal), m_client(client), m_isFirstRecord(isFirstRecord)
    {
    }

    // By one thread at a time: the client's own.
    void show(double value)
    {
        m_journal.note(m_client, m_isFirstRecord, value);
        if (!m_hasShown)
            m_journal.begins();
        m_hasShown = true;
    }

private:
    Journal &m_journal;
    const std::size_t m_client;
    const bool m_isFirstRecord;
    bool m_hasShown = false;
};

// ---- Channel Access ----

void check(int code, const char *what)
{
    if (code != ECA_NORMAL)
        throw std::runtime_error(std::string(what) + ": " + ca_message(code));
}

void onCaValue(event_handler_args arguments)
{
    if (arguments.status == ECA_NORMAL)
        static_cast<Monitored *>(arguments.usr)->show(*static_cast<const double *>(arguments.dbr));
}

// A subscription outlives a lost connection, so it is made once.
void onCaConnection(connection_handler_args arguments)
{
    void *monitored = ca_puser(arguments.chid);
    if (arguments.op != CA_OP_CONN_UP || !monitored)
        return;
    ca_set_puser(arguments.chid, nullptr);
    ca_create_subscription(DBR_DOUBLE, 1, arguments.chid, DBE_VALUE, onCaValue, monitored, nullptr);
    ca_flush_io();
}

class CaClients {
public:
    void add(Journal &journal, std::size_t client, const Names &names)
    {
        check(ca_context_create(ca_enable_preemptive_callback), "context");
        for (const std::string &name : names) {
            m_monitored.push_back(
                std::make_unique<Monitored>(journal, client, &name == &names.front()));
            chid channel = nullptr;
            check(ca_create_channel(name.c_str(), onCaConnection, m_monitored.back().get(),
                                    CA_PRIORITY_DEFAULT, &channel),
                  "channel");
        }
        check(ca_flush_io(), "flush");
        ca_detach_context();
    }

private:
    std::vector<std::unique_ptr<Monitored>> m_monitored;
};

// ---- pvAccess ----

class PvaMonitor : public pvac::ClientChannel::MonitorCallback {
public:
    PvaMonitor(Journal &journal, std::size_t client, bool isFirstRecord)
        : m_monitored(journal, client, isFirstRecord)
    {
    }

    void start(pvac::ClientChannel channel)
    {
        // Held until the monitor is in place: the first event may come before it is returned.
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_monitor = channel.monitor(this);
    }

    void monitorEvent(const pvac::MonitorEvent &event) override
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        while (event.event == pvac::MonitorEvent::Data && m_monitor.poll())
            m_monitored.show(
                m_monitor.root->getSubFieldT<epics::pvData::PVScalar>("value")->getAs<double>());
    }

private:
    Monitored m_monitored;
    std::mutex m_mutex;
    pvac::Monitor m_monitor; // guarded by m_mutex
};

class PvaClients {
public:
    PvaClients() { epics::pvAccess::ClientFactory::start(); }

    void add(Journal &journal, std::size_t client, const Names &names)
    {
        m_providers.emplace_back("pva");
        for (const std::string &name : names) {
            m_monitors.push_back(
                std::make_unique<PvaMonitor>(journal, client, &name == &names.front()));
            m_monitors.back()->start(m_providers.back().connect(name));
        }
    }

private:
    std::vector<pvac::ClientProvider> m_providers;
    std::vector<std::unique_ptr<PvaMonitor>> m_monitors;
};

// ---- the program ----

std::vector<Names> readClients(std::istream &input)
{
    std::vector<Names> clients;
    std::string line;
    while (std::getline(input, line) && !line.empty()) {
        std::istringstream words(line);
        clients.emplace_back();
        for (std::string word; words >> word;)
            clients.back().push_back(word);
    }
    return clients;
}

// One after another: base's pvAccess server holds a queue of four new connections, and one that
// it has lost keeps it from the next for seconds.
template <class Clients>
void connectAll(Clients &clients, Journal &journal, const std::vector<Names> &names,
                std::size_t monitors)
{
    for (std::size_t i = 0; i < names.size(); ++i) {
        clients.add(journal, i, names[i]);
        monitors -= names[i].size();
        journal.awaitSilent(monitors);
    }
    std::puts("connected");
    std::fflush(stdout);
}

template <class Clients> void run(std::istream &input)
{
    const auto names = readClients(input);
    std::size_t monitors = 0;
    for (const Names &ofClient : names)
        monitors += ofClient.size();
    Journal journal(monitors);
    Clients clients;
    connectAll(clients, journal, names, monitors);
    for (std::string line; std::getline(input, line);) {
        if (line == "take")
            journal.print();
    }
    // Not through the ends of some thousand threads; the server sees the sockets close.
    std::_Exit(0);
}

} // namespace

int main(int argc, char *argv[])
{
    const std::string protocol = argc == 2 ? argv[1] : "";
    try {
        if (protocol == "ca")
            run<CaClients>(std::cin);
        if (protocol == "pva")
            run<PvaClients>(std::cin);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    std::fprintf(stderr, usage, argv[0]);
    return 2;
}
