// Reads and writes of single items of the mainframe.
#include "unitSupport.h"

#include "ZANTOutils.h"

namespace {

class Access : public ZantoTest {
protected:
    // One board in slot 1 with two channels, and the system: each with an item P of this type.
    void makeItems(uint32_t type, const FakeBytes &value)
    {
        FakeParameter parameter;
        parameter.name = "P";
        parameter.type = type;
        parameter.value = value;
        FakeCrate crate;
        crate.properties = {fakeSysProp("P", type, VEXAHV_MODE_READWRITE, value)};
        crate.commands = {"Go"};
        crate.slots = {FakeBoard(), fakeBoard("A1", 2, {parameter}, {parameter})};
        fake.setCrate(crate);
        fake.forgetCalls();
    }
};

enum class Level { system, board, channel };

ZANTONodeValue get(Level level, uint32_t type, const std::string &name = "P")
{
    switch (level) {
    case Level::system: return ZANTOUtils::ZANTOGetSystemPropertyChanged(crateHandle, name, type);
    case Level::board: return ZANTOUtils::ZANTOGetBoardParameterChanged(crateHandle, 1, name, type);
    default: return ZANTOUtils::ZANTOGetChannelParameterChanged(crateHandle, 1, name, 1, type);
    }
}

int32_t set(Level level, uint32_t type, const variant &value, const std::string &name = "P")
{
    switch (level) {
    case Level::system:
        return ZANTOUtils::ZANTOSetSystemPropertyChanged(crateHandle, name, type, value);
    case Level::board:
        return ZANTOUtils::ZANTOSetBoardParameterChanged(crateHandle, 1, name, type, value);
    default:
        return ZANTOUtils::ZANTOSetChannelParameterChanged(crateHandle, 1, name, 1, type, value);
    }
}

const struct {
    Level level;
    const char *getCall;
    const char *setCall;
    const char *getMessage;
    const char *setMessage; // for result 5
} levels[] = {
    {Level::system, "GetSysProp(7, P)", "SetSysProp(7, P) = ",
     "Error getting [P] system property\n", "Error setting [P] system property\n"},
    {Level::board, "GetBdParam(7, 1, [1], P)", "SetBdParam(7, 1, [1], P) = ",
     "Error getting [P] board parameter\n", "Error setting [P] board parameter\n"},
    {Level::channel, "GetChParam(7, 1, P, 1, [1])", "SetChParam(7, 1, P, 1, [1]) = ",
     "Error getting [P] channel parameter\n", "Error setting [P] channel parameter - res = 5\n"},
};

// The whole of a variant: the bits that a getter of the stored type reads are in here.
void expectContent(const variant &value, uint32_t bits, const std::string &text)
{
    EXPECT_EQ(value.toUInt(), bits);
    EXPECT_EQ(value.toString(), text);
}

void expectFailed(const ZANTONodeValue &value, int32_t number, nodeValueQuality quality)
{
    expectContent(value.ZANTOGetValue(), static_cast<uint32_t>(number), "");
    EXPECT_EQ(value.ZANTOGetQuality(), quality);
}

} // namespace

// ---- reads ----

TEST_F(Access, SystemPropertiesAreReadInTheWidthOfTheirType)
{
    const struct {
        uint32_t type;
        FakeBytes answer;
        uint32_t bits;
        const char *text;
    } cases[] = {
        {0, FakeBytes::text("Model 1"), 0, "Model 1"},
        {1, FakeBytes::of(1.5F), 0x3FC00000, ""},
        {2, FakeBytes::of<uint16_t>(65535), 0x0000FFFF, ""},
        {3, FakeBytes::of<uint32_t>(0xFFFFFFFF), 0xFFFFFFFF, ""},
        {4, FakeBytes::of<int16_t>(-2), 0x0000FFFE, ""},
        {5, FakeBytes::of<int32_t>(-2), 0xFFFFFFFE, ""},
        {6, FakeBytes::of<int16_t>(1), 0x00000001, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.type);
        makeItems(c.type, c.answer);
        const time_t before = std::time(nullptr);
        const ZANTONodeValue value = get(Level::system, c.type);
        expectContent(value.ZANTOGetValue(), c.bits, c.text);
        EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood);
        EXPECT_GE(value.ZANTOGetTimestamp(), before);
        EXPECT_EQ(fake.calls(), Lines{"GetSysProp(7, P)"});
    }
}

TEST_F(Access, BoardAndChannelParametersAreReadInTheWidthOfTheirType)
{
    const struct {
        uint32_t type;
        FakeBytes answer;
        uint32_t bits;
    } cases[] = {
        {0, FakeBytes::of(1.5F), 0x3FC00000},        {1, FakeBytes::of<uint32_t>(1), 1},
        {2, FakeBytes::of<int32_t>(-3), 0xFFFFFFFD}, {3, FakeBytes::of<int32_t>(0x3F), 0x3F},
        {4, FakeBytes::of<int32_t>(-5), 0xFFFFFFFB}, {6, FakeBytes::of<int32_t>(2), 2},
    };
    for (const auto &c : cases) {
        for (const auto &l : {levels[1], levels[2]}) {
            SCOPED_TRACE(std::string(l.getCall) + " type " + std::to_string(c.type));
            makeItems(c.type, c.answer);
            const ZANTONodeValue value = get(l.level, c.type);
            expectContent(value.ZANTOGetValue(), c.bits, "");
            EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood);
            EXPECT_EQ(fake.calls(), Lines{l.getCall});
        }
    }
}

TEST_F(Access, AFailedReadOfTheSystemGivesABadZero)
{
    for (uint32_t type = 0; type <= 6; ++type) {
        SCOPED_TRACE(type);
        fake.failCalls("GetSysProp(", 5);
        const time_t before = std::time(nullptr);
        const ZANTONodeValue value = get(Level::system, type);
        expectFailed(value, 0, nodeValueQualityBad);
        EXPECT_GE(value.ZANTOGetTimestamp(), before);
    }
}

TEST_F(Access, AFailedReadOfAStatusWordGivesMinusOneOnABoardAndZeroOnAChannel)
{
    fake.failCalls("", 5);
    for (const uint32_t type : {0U, 1U, 2U, 3U, 4U, 6U}) {
        SCOPED_TRACE(type);
        const bool isStatus = type == 2 || type == 3;
        expectFailed(get(Level::board, type), isStatus ? -1 : 0, nodeValueQualityBad);
        expectFailed(get(Level::channel, type), 0, nodeValueQualityBad);
    }
}

TEST_F(Access, TypesWithoutAReadMakeNoCall)
{
    for (const uint32_t type : {7U, 100U, UINT32_MAX})
        expectFailed(get(Level::system, type), 0, nodeValueQualityBad);
    for (const uint32_t type : {5U, 7U, 100U, UINT32_MAX}) {
        SCOPED_TRACE(type);
        expectFailed(get(Level::board, type), 0, nodeValueQualityUnknown);
        expectFailed(get(Level::channel, type), 0, nodeValueQualityBad);
    }
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(Access, AFailedReadIsToldFromLevelTwoOn)
{
    fake.failCalls("", 5);
    for (const auto &l : levels) {
        for (const uint32_t type : {0U, 7U}) {
            SCOPED_TRACE(type);
            expectPrintedFrom(2, l.getMessage, [&] { get(l.level, type); });
        }
    }
    expectPrintedFrom(2, levels[1].getMessage, [] { get(Level::board, 5); });
    expectPrintedFrom(2, levels[2].getMessage, [] { get(Level::channel, 5); });
}

TEST_F(Access, ATextWithoutANulEndsWithTheLibrarysLongestText)
{
    const std::string endless(VEXAHV_TEXT_SIZE, 'x');
    makeItems(VEXAHV_SYSPROP_TEXT, {endless});
    EXPECT_EQ(get(Level::system, 0).ZANTOGetValue().toString(), endless);
}

TEST_F(Access, NumbersThatAreNoneComeThrough)
{
    for (const uint32_t bits : {0x7FC00000U, 0x7F800000U, 0xFF800000U}) {
        makeItems(VEXAHV_PARAM_NUMERIC, FakeBytes::of(bits));
        EXPECT_EQ(get(Level::channel, 0).ZANTOGetValue().toUInt(), bits);
    }
}

TEST_F(Access, ADummyIsAGoodZeroOfNow)
{
    const time_t before = std::time(nullptr);
    const ZANTONodeValue value = ZANTOUtils::ZANTOGetDummyChanged();
    expectFailed(value, 0, nodeValueQualityGood);
    EXPECT_GE(value.ZANTOGetTimestamp(), before);
    EXPECT_EQ(fake.calls(), Lines{});
}

// ---- writes ----

TEST_F(Access, SystemPropertiesAreWrittenInTheWidthOfTheirType)
{
    const struct {
        uint32_t type;
        variant value;
        const char *written;
    } cases[] = {
        {0, variantOf(std::string("Model 2")), "\"Model 2\""},
        {1, variantOf(-1.5F), "-1.5"},
        {2, variantOf(static_cast<uint32_t>(70000)), "4464"},
        {3, variantOf(static_cast<uint32_t>(0xFFFFFFFF)), "4294967295"},
        {4, variantOf(static_cast<int32_t>(-2)), "-2"},
        {4, variantOf(static_cast<int32_t>(70000)), "4464"},
        {6, variantOf(static_cast<int32_t>(1)), "1"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.type);
        makeItems(c.type, FakeBytes());
        EXPECT_EQ(set(Level::system, c.type, c.value), 0);
        EXPECT_EQ(fake.calls(), Lines{std::string("SetSysProp(7, P) = ") + c.written});
    }
}

TEST_F(Access, NothingButTheLow16BitsOfANarrowSystemPropertyReachTheLibrary)
{
    for (const uint32_t type : {2U, 4U, 5U, 6U}) {
        SCOPED_TRACE(type);
        makeItems(type, FakeBytes());
        EXPECT_EQ(set(Level::system, type, variantOf(static_cast<int32_t>(70000))), 0);
        EXPECT_EQ(fake.lastNumberWritten().raw, FakeBytes::of<uint64_t>(4464).raw);
        EXPECT_EQ(set(Level::system, type, variantOf(static_cast<int32_t>(-2))), 0);
        EXPECT_EQ(fake.lastNumberWritten().raw, FakeBytes::of<uint64_t>(0xFFFE).raw);
    }
}

TEST_F(Access, ASigned32BitSystemPropertyGetsTheLow16BitsOnly)
{
    makeItems(VEXAHV_SYSPROP_INT32, FakeBytes());
    EXPECT_EQ(set(Level::system, 5, variantOf(static_cast<int32_t>(70000))), 0);
    EXPECT_EQ(fake.crate().properties[0].value.as<uint16_t>(), 4464);
}

TEST_F(Access, BoardAndChannelParametersAreWrittenInTheWidthOfTheirType)
{
    const struct {
        uint32_t type;
        variant value;
        const char *written;
    } cases[] = {
        {0, variantOf(-1.5F), "-1.5"},
        {1, variantOf(static_cast<uint32_t>(4000000000)), "4000000000"},
        {2, variantOf(static_cast<int32_t>(-3)), "-3"},
        {3, variantOf(static_cast<int32_t>(70000)), "70000"},
        {4, variantOf(static_cast<int32_t>(-70000)), "-70000"},
        {6, variantOf(static_cast<int32_t>(2)), "2"},
    };
    for (const auto &c : cases) {
        for (const auto &l : {levels[1], levels[2]}) {
            SCOPED_TRACE(std::string(l.setCall) + " type " + std::to_string(c.type));
            makeItems(c.type, FakeBytes());
            EXPECT_EQ(set(l.level, c.type, c.value), 0);
            EXPECT_EQ(fake.calls(), Lines{std::string(l.setCall) + c.written});
        }
    }
}

TEST_F(Access, TypesWithoutAWriteMakeNoCall)
{
    for (const uint32_t type : {7U, UINT32_MAX})
        EXPECT_EQ(set(Level::system, type, variant()), -1);
    for (const uint32_t type : {5U, 7U, UINT32_MAX}) {
        EXPECT_EQ(set(Level::board, type, variant()), -1);
        EXPECT_EQ(set(Level::channel, type, variant()), -1);
    }
    EXPECT_EQ(fake.calls(), Lines{});
}

TEST_F(Access, AFailedWriteReturnsTheLibrarysCodeAndIsToldFromLevelTwoOn)
{
    fake.failCalls("", 5);
    for (const auto &l : levels) {
        SCOPED_TRACE(l.setCall);
        EXPECT_EQ(set(l.level, 1, variant()), 5);
        expectPrintedFrom(2, l.setMessage, [&] { set(l.level, 1, variant()); });
    }
}

TEST_F(Access, AWriteThatCannotBeMadeIsToldFromLevelTwoOn)
{
    expectPrintedFrom(2, "Error setting [P] system property\n",
                      [] { set(Level::system, 7, variant()); });
    expectPrintedFrom(2, "Error setting [P] board parameter\n",
                      [] { set(Level::board, 5, variant()); });
    expectPrintedFrom(2, "Error setting [P] channel parameter - res = -1\n",
                      [] { set(Level::channel, 5, variant()); });
}

TEST_F(Access, AnOverlongTextIsCutToTheLibrarysLongest)
{
    makeItems(VEXAHV_SYSPROP_TEXT, FakeBytes());
    EXPECT_EQ(set(Level::system, 0, variantOf(std::string(5000, 'x'))), 0);
    EXPECT_EQ(fake.crate().properties[0].value.asText(), std::string(VEXAHV_TEXT_SIZE - 1, 'x'));
}

// ---- channel names ----

TEST_F(Access, AChannelsNameGoesThroughTheNameOperationsWhateverItsType)
{
    makeItems(VEXAHV_PARAM_NUMERIC, FakeBytes::of(1.0F));
    for (const uint32_t type : {0U, 5U, 99U}) {
        fake.forgetCalls();
        const ZANTONodeValue value = get(Level::channel, type, "Name");
        EXPECT_EQ(value.ZANTOGetQuality(), nodeValueQualityGood);
        EXPECT_EQ(set(Level::channel, type, variantOf(std::string("New")), "Name"), 0);
        EXPECT_EQ(fake.calls(), (Lines{"GetChName(7, 1, 1, [1])", "SetChName(7, 1, 1, [1], New)"}));
    }
    EXPECT_EQ(get(Level::channel, 5, "Name").ZANTOGetValue().toString(), "New");
}

TEST_F(Access, OnlyAChannelsParameterCalledExactlyNameIsItsName)
{
    get(Level::board, 0, "Name");
    get(Level::system, 0, "Name");
    get(Level::channel, 0, "name");
    get(Level::channel, 0, "Name ");
    EXPECT_EQ(fake.callsOf("GetChName("), Lines{});
}

TEST_F(Access, AChannelNameOfElevenLettersFillsItsSlotAndOneWithoutANulEndsWithIt)
{
    makeItems(VEXAHV_PARAM_NUMERIC, FakeBytes::of(1.0F));
    for (const char *name : {"", "elevenchars", "twelve chars"}) {
        FakeCrate crate = fake.crate();
        crate.slots[1].channels[1].name = name;
        fake.setCrate(crate);
        EXPECT_EQ(get(Level::channel, 5, "Name").ZANTOGetValue().toString(), name);
    }
}

TEST_F(Access, AFailedNameReadIsABadTextWithoutAMessage)
{
    fake.failCalls("GetChName(", 5);
    ZANTONodeValue value;
    EXPECT_EQ(printedAt(10, [&] { value = get(Level::channel, 5, "Name"); }), "");
    expectFailed(value, 0, nodeValueQualityBad);
}

TEST_F(Access, AFailedNameWriteIsToldFromLevelOneOn)
{
    fake.failCalls("SetChName(", 5);
    const auto write = [] { set(Level::channel, 5, variantOf(std::string("New")), "Name"); };
    EXPECT_EQ(set(Level::channel, 5, variant(), "Name"), 5);
    expectPrintedFrom(1, "Error setting channel name\n", write);
    EXPECT_EQ(printedAt(2, write), "Error setting channel name\n");
}

// ---- commands ----

TEST_F(Access, ACommandIsExecutedByName)
{
    makeItems(0, FakeBytes());
    EXPECT_EQ(ZANTOUtils::ZANTOExeSystemCommandChanged(crateHandle, "Go"), 0);
    EXPECT_EQ(fake.calls(), Lines{"ExecComm(7, Go)"});
}

TEST_F(Access, AFailedCommandReturnsTheLibrarysCodeAndIsToldFromLevelTwoOn)
{
    fake.failCalls("ExecComm(", -9);
    const auto execute = [] { ZANTOUtils::ZANTOExeSystemCommandChanged(crateHandle, "Go"); };
    EXPECT_EQ(ZANTOUtils::ZANTOExeSystemCommandChanged(crateHandle, "Go"), -9);
    expectPrintedFrom(2, "Error execute [Go] system command\n", execute);
}

TEST_F(Access, AtLevelOneOnlyAFailedNameWriteIsTold)
{
    fake.failCalls("", 5);
    const auto everything = [] {
        for (const auto &l : levels)
            for (uint32_t type = 0; type <= 7; ++type) {
                get(l.level, type);
                set(l.level, type, variant());
            }
        get(Level::channel, 5, "Name");
        ZANTOUtils::ZANTOExeSystemCommandChanged(crateHandle, "Go");
    };
    EXPECT_EQ(printedAt(1, everything), "");
}
