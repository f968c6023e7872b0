#include <gtest/gtest.h>

#include "faults/order.h"

namespace {

using namespace sim;

std::string problemsOf(const FaultFields &fields)
{
    std::vector<FaultProblem> problems;
    const auto order = readFaultOrder(fields, problems);
    EXPECT_EQ(problems.empty(), order.has_value());
    std::string text;
    for (const auto &problem : problems)
        text += problem.field + "|" + problem.text + "\n";
    return text;
}

FaultOrder orderOf(const FaultFields &fields)
{
    std::vector<FaultProblem> problems;
    const auto order = readFaultOrder(fields, problems);
    EXPECT_TRUE(problems.empty()) << problems.front().text;
    return order.value_or(FaultOrder());
}

TEST(FaultOrder, UsualValuesFillWhatIsNotGiven)
{
    const auto order = orderOf({{"kind", "fail"}, {"operation", "GetChParam"}});
    EXPECT_EQ(order.kind, FaultKind::Fail);
    EXPECT_EQ(order.operation, wire::Operation::GetChParam);
    EXPECT_EQ(order.code, 1);
    EXPECT_EQ(order.count, 1);
    EXPECT_EQ(order.after, 0);
    EXPECT_EQ(orderOf({{"kind", "split-events"}}).chunk, 1);
    EXPECT_EQ(orderOf({{"kind", "garbage-events"}}).bytes, 64);
    EXPECT_EQ(orderOf({{"kind", "split-events"}}).count, 0);
}

TEST(FaultOrder, OperationsGoByEitherName)
{
    const auto of = [](const char *name) {
        return orderOf({{"kind", "hang"}, {"operation", name}}).operation;
    };
    EXPECT_EQ(of("VEXAHV_ExecComm"), wire::Operation::ExecComm);
    EXPECT_EQ(of("ExecComm"), wire::Operation::ExecComm);
    EXPECT_EQ(of("any"), std::nullopt);
}

TEST(FaultOrder, EveryKindIsReadBackFromItsFields)
{
    const FaultFields all{
        {"operation", "any"},      {"answer", "bad-utf8"}, {"code", int64_t{-7}},
        {"count", int64_t{3}},     {"after", int64_t{4}},  {"milliseconds", int64_t{250}},
        {"offset", int64_t{1000}}, {"chunk", int64_t{7}},  {"bytes", int64_t{9}}};
    for (size_t index = 0; index < static_cast<size_t>(FaultKind::Count_); ++index) {
        const auto kind = static_cast<FaultKind>(index);
        const std::string name(faultKindName(kind));
        EXPECT_EQ(findFaultKind(name), kind);
        FaultFields fields{{"kind", name}};
        for (const auto &[field, value] : all) {
            FaultFields wider = fields;
            wider.emplace(field, value);
            std::vector<FaultProblem> problems;
            readFaultOrder(wider, problems);
            const bool known = std::none_of(problems.begin(), problems.end(),
                                            [&](const auto &each) { return each.field == field; });
            if (known)
                fields = wider;
        }
        EXPECT_GT(fields.size(), 1u) << name;
        EXPECT_EQ(faultFields(orderOf(fields)), fields) << name;
    }
}

TEST(FaultOrder, AWholeNumberMayComeAsAReal)
{
    EXPECT_EQ(orderOf({{"kind", "refuse-logins"}, {"count", 5.0}}).count, 5);
    EXPECT_EQ(problemsOf({{"kind", "refuse-logins"}, {"count", 5.5}}),
              "count|\"count\" is not an integer from 0 to 2147483647\n");
}

TEST(FaultOrder, ProblemsNameTheField)
{
    EXPECT_EQ(problemsOf({}), "|\"kind\" is missing\n");
    EXPECT_EQ(problemsOf({{"kind", true}}), "kind|\"kind\" is not text\n");
    EXPECT_NE(problemsOf({{"kind", "fall"}}).find("not one of refuse-logins, fail, delay"),
              std::string::npos);
    EXPECT_EQ(problemsOf({{"kind", "fail"},
                          {"operation", "GetEventData"},
                          {"code", int64_t{0}},
                          {"chunk", int64_t{1}}}),
              "operation|\"operation\" is neither \"any\" nor a call that reaches the crate: "
              "\"GetEventData\"\n"
              "code|\"code\" is 0, which means success\n"
              "chunk|the fault \"fail\" has no field \"chunk\"\n");
    EXPECT_EQ(problemsOf({{"kind", "delay"}}),
              "|\"operation\" is missing\n|\"milliseconds\" is missing\n");
    EXPECT_EQ(problemsOf({{"kind", "split-events"}, {"chunk", int64_t{0}}}),
              "chunk|\"chunk\" is not an integer from 1 to 1048576\n");
    EXPECT_NE(problemsOf({{"kind", "answer"}, {"operation", "any"}, {"answer", "blah"}})
                  .find("answer|\"answer\" is not one of no-nul"),
              std::string::npos);
}

} // namespace
