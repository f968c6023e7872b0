#include "cratefile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

#include "reader.h"
#include "model/problems.h"

namespace sim {

namespace {

// More channels than any crate has, and few enough to be built.
constexpr size_t maxChannels = 1 << 20;

class CrateReader {
public:
    explicit CrateReader(const Field &root)
        : m_fields(root, "a crate description"), m_findings(root.findings())
    {
    }

    CrateFile run()
    {
        CrateFile file;
        auto &crate = file.crate;
        crate.name = m_fields.required("name").text().value_or("");
        crate.users = readEach(m_fields.required("users"), readUser);
        crate.properties = readEach(m_fields.optional("properties"), readProperty);
        crate.commands = readEach(m_fields.optional("commands"), readCommand);
        ReadModels models = readModels(m_fields.optional("models"));
        const auto slots = m_fields.required("slots").integer<uint16_t>();
        readBoards(models);
        file.faults = readFaults(m_fields.optional("faults"));
        m_fields.finish();
        crate.models = std::move(models.models);
        judge(crate);
        placeBoards(crate, slots);
        return file;
    }

private:
    void readBoards(const ReadModels &models)
    {
        size_t channels = 0;
        for (const auto &item : m_fields.optional("boards").items()) {
            m_boards.push_back(readBoard(item, models));
            channels += m_boards.back().board.channels.size();
            if (channels > maxChannels)
                return item.report("more than " + std::to_string(maxChannels) + " channels in all");
        }
    }

    // The boards are judged in their order in the file: what is wrong with their
    // slots must not hide what else is wrong with them.
    void judge(const CrateDescription &crate)
    {
        CrateDescription judged = crate;
        for (const auto &read : m_boards)
            judged.slots.emplace_back(read.board);
        std::map<std::pair<std::string, std::string>, size_t> known;
        std::vector<std::pair<Problem, size_t>> firsts;
        for (auto &problem : findProblems(judged)) {
            relate(problem);
            if (m_findings.isReported(problem.path))
                continue;
            const auto [first, isNew] =
                known.try_emplace({problem.path, reasonIn(problem.text)}, firsts.size());
            if (isNew)
                firsts.emplace_back(std::move(problem), 0);
            else
                ++firsts[first->second].second;
        }
        for (const auto &[problem, more] : firsts)
            m_findings.add(
                m_findings.lineOf(problem.path), problem.path,
                problem.text +
                    (more == 0 ? "" : " (and " + std::to_string(more) + " more like it)"));
    }

    // Several channels may owe the same problem to one entry of the file.
    static std::string reasonIn(const std::string &text)
    {
        const auto colon = text.rfind(": ");
        return colon == std::string::npos ? text : text.substr(colon);
    }

    // The model knows a board by its position in the file: to a reader of the file it
    // is an entry there, or the slot that this names.
    void relate(Problem &problem) const
    {
        constexpr std::string_view slots = "slots/";
        if (problem.path.compare(0, slots.size(), slots) != 0)
            return;
        const auto [index, rest] = numberAndRest(problem.path.substr(slots.size()));
        const ReadBoard &read = m_boards.at(index);
        constexpr std::string_view channels = "channels/";
        std::string member = rest;
        if (rest.compare(0, channels.size(), channels) == 0) {
            const auto [channel, ofChannel] = numberAndRest(rest.substr(channels.size()));
            member = channelPath(read, channel, ofChannel);
        }
        problem.path = read.path + "/" + member;
        const std::string position = "slot " + std::to_string(index);
        problem.text.replace(0, position.size(),
                             read.slot ? "slot " + std::to_string(*read.slot) : "board");
    }

    std::string channelPath(const ReadBoard &read, size_t channel, const std::string &member) const
    {
        const std::string name = "names/" + std::to_string(channel);
        if (member == "name")
            return m_findings.hasLine(read.path + "/" + name) ? name : "names";
        const bool ofLoad = member.compare(0, 5, "load/") == 0;
        const auto &owners = ofLoad ? read.loads : read.settings;
        if (channel >= owners.size() || owners[channel] < 0)
            return "channels";
        return (ofLoad ? "loads/" : "settings/") + std::to_string(owners[channel]) + "/" +
               (ofLoad ? member.substr(5) : member);
    }

    static std::pair<size_t, std::string> numberAndRest(const std::string &path)
    {
        const auto slash = std::min(path.find('/'), path.size());
        const auto number = parseInteger(path.substr(0, slash)).value_or(0);
        return {static_cast<size_t>(number), path.substr(std::min(slash + 1, path.size()))};
    }

    void placeBoards(CrateDescription &crate, std::optional<uint16_t> slots)
    {
        crate.slots.resize(slots.value_or(UINT16_MAX));
        for (auto &read : m_boards) {
            if (!read.slot)
                continue;
            const std::string path = read.path + "/slot";
            const std::string name = "slot " + std::to_string(*read.slot);
            if (*read.slot >= crate.slots.size())
                m_findings.add(m_findings.lineOf(path), path,
                               name + " does not exist, the crate has " +
                                   std::to_string(crate.slots.size()));
            else if (crate.slots[*read.slot])
                m_findings.add(m_findings.lineOf(path), path, name + " already has a board");
            else
                crate.slots[*read.slot] = std::move(read.board);
        }
    }

    Fields m_fields;
    Findings &m_findings;
    std::vector<ReadBoard> m_boards;
};

std::string failure(const char *what)
{
    return std::string("cannot be ") + what + ": " + std::strerror(errno);
}

} // namespace

CrateReading readCrate(const std::string &yaml)
{
    CrateReading reading;
    Findings findings;
    const auto root = loadYaml(yaml, findings);
    try {
        if (root)
            reading.file =
                CrateReader({*root, lineOf(root->Mark()), "the document", "", findings}).run();
    } catch (const TooMuchToRead &) {
        findings.add(0, "", "aliases make it too large");
    }
    reading.findings = findings.take();
    return reading;
}

CrateReading readCrateFile(const std::string &path)
{
    CrateReading reading;
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"),
                                                                std::fclose);
    if (!file) {
        reading.findings.push_back({0, failure("opened")});
        return reading;
    }
    // One more byte than is read shows that there are more.
    std::string text(maxYamlSize + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    if (std::ferror(file.get()) == 0)
        return readCrate(text);
    reading.findings.push_back({0, failure("read")});
    return reading;
}

std::string findingText(const std::string &file, const Finding &finding)
{
    const std::string line = finding.line > 0 ? ":" + std::to_string(finding.line) : "";
    return file + line + ": " + finding.text;
}

std::string crateSummary(const CrateDescription &crate)
{
    const auto counted = [](size_t count, const char *what) {
        return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
    };
    size_t boards = 0;
    size_t channels = 0;
    for (const auto &slot : crate.slots) {
        boards += slot ? 1 : 0;
        channels += slot ? slot->channels.size() : 0;
    }
    return counted(boards, "board") + ", " + counted(channels, "channel");
}

} // namespace sim
