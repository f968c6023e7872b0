#include "order.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace sim {

namespace {

constexpr std::string_view prefix = "VEXAHV_";
constexpr std::string_view anyOperation = "any";

constexpr std::array<std::string_view, static_cast<size_t>(Corruption::Count_)> answerNames = {
    "no-nul",          "no-end",    "long-count", "empty-list",  "nan-limits",
    "infinite-limits", "long-text", "bad-utf8",   "quoted-text",
};

struct NumberField {
    std::string_view name;
    int64_t FaultOrder::*member;
    int64_t low;
    int64_t high;
};

constexpr int64_t int32Max = std::numeric_limits<int32_t>::max();

constexpr NumberField code{"code", &FaultOrder::code, std::numeric_limits<int32_t>::min(),
                           int32Max};
constexpr NumberField count{"count", &FaultOrder::count, 0, int32Max};
constexpr NumberField after{"after", &FaultOrder::after, 0, int32Max};
constexpr NumberField milliseconds{"milliseconds", &FaultOrder::milliseconds, 0, 3600000};
constexpr NumberField offset{"offset", &FaultOrder::offset, 0, int64_t{1} << 40};
constexpr NumberField chunk{"chunk", &FaultOrder::chunk, 1, 1 << 20};
constexpr NumberField bytes{"bytes", &FaultOrder::bytes, 1, 1 << 20};

struct NumberUse {
    const NumberField *field;
    std::optional<int64_t> byDefault; // none: has to be given
};

struct KindRow {
    FaultKind kind;
    std::string_view name;
    bool hasOperation;
    bool hasAnswer;
    std::vector<NumberUse> numbers;
};

// A function's static: orders are read before main() by nobody, but logged after
// it by those that end late.
const std::vector<KindRow> &kindRows()
{
    using K = FaultKind;
    static const std::vector<KindRow> rows = {
        {K::RefuseLogins, "refuse-logins", false, false, {{&count, 1}}},
        {K::Fail, "fail", true, false, {{&code, 1}, {&count, 1}, {&after, 0}}},
        {K::Delay, "delay", true, false, {{&milliseconds, {}}, {&count, 1}, {&after, 0}}},
        {K::Hang, "hang", true, false, {{&count, 1}, {&after, 0}}},
        {K::DropEvents, "drop-events", false, false, {{&offset, 0}}},
        {K::ResetEvents, "reset-events", false, false, {{&offset, 0}}},
        {K::HalfCloseEvents, "half-close-events", false, false, {{&offset, 0}}},
        {K::SplitEvents, "split-events", false, false, {{&chunk, 1}, {&count, 0}}},
        {K::GarbageEvents, "garbage-events", false, false, {{&bytes, 64}}},
        {K::UnknownEvents, "unknown-events", false, false, {{&count, 1}}},
        {K::Answer, "answer", true, true, {{&count, 1}, {&after, 0}}},
    };
    return rows;
}

const KindRow &rowOf(FaultKind kind) { return kindRows()[static_cast<size_t>(kind)]; }

std::optional<int64_t> integerIn(const FaultFieldValue &value)
{
    if (const auto *integer = std::get_if<int64_t>(&value))
        return *integer;
    const auto *real = std::get_if<double>(&value);
    // Beyond 2^53 not every integer is a double of its own.
    if (real == nullptr || !(std::abs(*real) <= 9007199254740992.0) || std::trunc(*real) != *real)
        return std::nullopt;
    return static_cast<int64_t>(*real);
}

std::string_view nameOf(std::string_view name) { return name; }
std::string_view nameOf(const KindRow &row) { return row.name; }

template <class Named> std::string listed(const Named &all)
{
    std::string text;
    for (const auto &each : all)
        text.append(text.empty() ? "" : ", ").append(nameOf(each));
    return text;
}

class OrderReader {
public:
    OrderReader(const FaultFields &fields, std::vector<FaultProblem> &problems)
        : m_left(fields), m_problems(problems)
    {
    }

    std::optional<FaultOrder> run()
    {
        const size_t before = m_problems.size();
        const KindRow *row = readKind();
        if (row == nullptr)
            return std::nullopt;
        m_order.kind = row->kind;
        if (row->hasOperation)
            readOperation();
        if (row->hasAnswer)
            readAnswer();
        for (const auto &use : row->numbers)
            readNumber(use);
        if (m_problems.size() == before && row->hasAnswer)
            checkAnswer();
        if (m_order.code == 0 && row->kind == FaultKind::Fail)
            report("code", "\"code\" is 0, which means success");
        for (const auto &[name, value] : m_left)
            report(name,
                   "the fault \"" + std::string(row->name) + "\" has no field \"" + name + "\"");
        return m_problems.size() == before ? std::optional(m_order) : std::nullopt;
    }

private:
    void report(std::string_view field, std::string text)
    {
        m_problems.push_back({std::string(field), std::move(text)});
    }

    std::optional<FaultFieldValue> take(std::string_view name)
    {
        const auto found = m_left.find(std::string(name));
        if (found == m_left.end())
            return std::nullopt;
        FaultFieldValue value = std::move(found->second);
        m_left.erase(found);
        return value;
    }

    // Reports a field that is missing or no text.
    std::optional<std::string> takeText(std::string_view name)
    {
        auto value = take(name);
        if (value && std::holds_alternative<std::string>(*value))
            return std::get<std::string>(std::move(*value));
        report(value ? name : std::string_view(),
               "\"" + std::string(name) + (value ? "\" is not text" : "\" is missing"));
        return std::nullopt;
    }

    const KindRow *readKind()
    {
        const auto name = takeText("kind");
        if (!name)
            return nullptr;
        if (const auto kind = findFaultKind(*name))
            return &rowOf(*kind);
        report("kind", "\"kind\" is not one of " + listed(kindRows()));
        return nullptr;
    }

    void readOperation()
    {
        const auto name = takeText("operation");
        if (!name || *name == anyOperation)
            return;
        m_order.operation = findOperationNamed(*name);
        if (!m_order.operation)
            report("operation",
                   "\"operation\" is neither \"any\" nor a call that reaches the crate: \"" +
                       *name + "\"");
    }

    void readAnswer()
    {
        const auto name = takeText("answer");
        if (!name)
            return;
        const auto found = std::find(answerNames.begin(), answerNames.end(), *name);
        if (found == answerNames.end())
            report("answer", "\"answer\" is not one of " + listed(answerNames));
        else
            m_order.answer = static_cast<Corruption>(found - answerNames.begin());
    }

    void checkAnswer()
    {
        if (m_order.operation && !canCorrupt(m_order.answer, *m_order.operation))
            report("answer", "no answer of \"" +
                                 std::string(faultOperationName(m_order.operation)) +
                                 "\" can be corrupt that way");
    }

    void readNumber(const NumberUse &use)
    {
        const NumberField &field = *use.field;
        const auto value = take(field.name);
        const std::string quoted = "\"" + std::string(field.name) + "\"";
        if (!value && !use.byDefault)
            report({}, quoted + " is missing");
        const auto number = value ? integerIn(*value) : use.byDefault.value_or(field.low);
        if (number && *number >= field.low && *number <= field.high)
            m_order.*field.member = *number;
        else
            report(field.name, quoted + " is not an integer from " + std::to_string(field.low) +
                                   " to " + std::to_string(field.high));
    }

    FaultFields m_left;
    std::vector<FaultProblem> &m_problems;
    FaultOrder m_order;
};

} // namespace

bool FaultOrder::operator==(const FaultOrder &other) const
{
    return faultFields(*this) == faultFields(other);
}

std::optional<FaultOrder> readFaultOrder(const FaultFields &fields,
                                         std::vector<FaultProblem> &problems)
{
    return OrderReader(fields, problems).run();
}

FaultFields faultFields(const FaultOrder &order)
{
    const KindRow &row = rowOf(order.kind);
    FaultFields fields{{"kind", std::string(row.name)}};
    if (row.hasOperation)
        fields["operation"] = std::string(faultOperationName(order.operation));
    if (row.hasAnswer)
        fields["answer"] = std::string(answerNames[static_cast<size_t>(order.answer)]);
    for (const auto &use : row.numbers)
        if (use.byDefault != order.*use.field->member)
            fields[std::string(use.field->name)] = order.*use.field->member;
    return fields;
}

std::string_view faultKindName(FaultKind kind) { return rowOf(kind).name; }

std::optional<FaultKind> findFaultKind(std::string_view name)
{
    for (const auto &row : kindRows())
        if (row.name == name)
            return row.kind;
    return std::nullopt;
}

std::optional<wire::Operation> findOperationNamed(const std::string &name)
{
    const auto operation = wire::findOperation(name);
    return operation ? operation : wire::findOperation(std::string(prefix) + name);
}

std::string_view faultOperationName(std::optional<wire::Operation> operation)
{
    return operation ? wire::operationName(*operation).substr(prefix.size()) : anyOperation;
}

} // namespace sim
