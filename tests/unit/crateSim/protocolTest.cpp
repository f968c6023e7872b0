#include <gmock/gmock.h>
#include <tuple>

#include "protocol/events.h"
#include "protocol/lists.h"

using namespace sim::wire;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string payloadOf(const std::string &frame) { return frame.substr(headerSize); }

Header headerOf(const std::string &frame)
{
    Header header{};
    std::copy_n(frame.begin(), headerSize, header.begin());
    return header;
}

} // namespace

TEST(Frame, CarriesItsLength)
{
    const std::string frame = makeFrame("abc", 3);
    EXPECT_EQ(frame.size(), headerSize + 3);
    EXPECT_EQ(payloadLength(headerOf(frame)), 3u);
}

TEST(Frame, StrangersAreFoundOutByTheFirstByte)
{
    Header header = makeHeader(0);
    EXPECT_TRUE(isHeaderStart(header, 0));
    EXPECT_TRUE(isHeaderStart(header, headerSize));
    header[0] = 'G';
    EXPECT_TRUE(isHeaderStart(header, 0));
    EXPECT_FALSE(isHeaderStart(header, 1));
    EXPECT_THROW(payloadLength(header), BadFrame);
}

TEST(Frame, LengthIsBounded)
{
    Header header = makeHeader(maxPayload);
    EXPECT_EQ(payloadLength(header), maxPayload);
    header[7] = 1;
    EXPECT_THROW(payloadLength(header), BadFrame);
    EXPECT_THROW(makeHeader(size_t{maxPayload} + 1), BadFrame);
}

TEST(Codec, CallComesThrough)
{
    const auto frame =
        makeCall(Operation::SetChParam, SetChannelParameterRequest{3, "VSet", {1, 2}, 0x42c80000});
    const auto unpacked = unpackPayload(payloadOf(frame));
    const Call call = readCall(unpacked);
    EXPECT_EQ(call.operation, Operation::SetChParam);
    const auto request = convert<SetChannelParameterRequest>(call.body);
    EXPECT_EQ(request.slot, 3);
    EXPECT_EQ(request.parameter, "VSet");
    EXPECT_THAT(request.channels, ElementsAre(1, 2));
    EXPECT_EQ(request.word, 0x42c80000u);
}

TEST(Codec, EveryPrefixOfACallIsRefused)
{
    const auto payload = payloadOf(makeCall(Operation::GetSysProp, NameRequest{"IPAddr"}));
    for (size_t length = 0; length < payload.size(); ++length)
        EXPECT_THROW(unpackPayload(payload.substr(0, length)), BadFrame) << length;
}

// What is understood of a damaged call is what stands in it: encoded anew it is a call that reads
// the same.
TEST(Codec, EveryDamagedByteIsRefusedOrUnderstoodAsItStands)
{
    const auto payload = payloadOf(makeCall(Operation::SubscribeChannelParams,
                                            SubscriptionRequest{5180, 0, 1, "VSet:ISet", 2}));
    const auto read = [](const std::string &bytes) {
        const auto unpacked = unpackPayload(bytes);
        const Call call = readCall(unpacked);
        const auto r = convert<SubscriptionRequest>(call.body);
        return std::make_tuple(call.operation, r.port, r.slot, r.channel, r.names, r.count);
    };
    const auto original = read(payload);
    EXPECT_EQ(original, std::make_tuple(Operation::SubscribeChannelParams, uint16_t{5180}, 0, 1,
                                        std::string("VSet:ISet"), 2u));
    size_t refused = 0;
    size_t understood = 0;
    size_t unchanged = 0;
    for (size_t position = 0; position < payload.size(); ++position) {
        for (int value = 0; value < 256; ++value) {
            std::string damaged = payload;
            damaged[position] = static_cast<char>(value);
            try {
                const auto found = read(damaged);
                ++understood;
                unchanged += found == original && damaged != payload ? 1 : 0;
                const auto &[operation, port, slot, channel, names, count] = found;
                const auto again = payloadOf(
                    makeCall(operation, SubscriptionRequest{port, slot, channel, names, count}));
                EXPECT_EQ(read(again), found) << position << ": " << value;
            } catch (const BadFrame &) {
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 0u);
    EXPECT_GT(understood, payload.size());
    // Another byte is another call, but for the port as a signed number.
    EXPECT_EQ(unchanged, 1u);
}

TEST(Codec, OtherTypesAreRefused)
{
    msgpack::sbuffer number;
    msgpack::pack(number, 17);
    const auto unpacked = unpackPayload({number.data(), number.size()});
    EXPECT_THROW(readCall(unpacked), BadFrame);
    EXPECT_THROW(readAnswer(unpacked), BadFrame);
    EXPECT_THROW(convert<NameRequest>(unpacked.get()), BadFrame);
    EXPECT_THROW(BatchReader reader(unpacked), BadFrame);
}

TEST(Codec, DeepNestingIsRefused)
{
    EXPECT_THROW(unpackPayload(std::string(1000, '\x91')), BadFrame);
}

TEST(Codec, UnknownOperationIsRefused)
{
    const auto frame = makeCall(static_cast<Operation>(operationCount), Nothing());
    const auto unpacked = unpackPayload(payloadOf(frame));
    EXPECT_THROW(readCall(unpacked), BadFrame);
}

TEST(Operations, NamesLeadBackToThem)
{
    for (size_t index = 0; index < operationCount; ++index)
        EXPECT_EQ(findOperation(operations[index].name), static_cast<Operation>(index));
    EXPECT_FALSE(findOperation("VEXAHV_Nothing"));
}

TEST(Lists, PackedNamesEndWithTheirNul)
{
    std::string list;
    for (const char *name : {"A", "", "BC"})
        appendPacked(list, name);
    EXPECT_EQ(list, std::string("A\0\0BC\0", 6));
}

TEST(Lists, SlotKeepsItsNul)
{
    std::string table;
    appendSlot(table, "Nine char", 10);
    appendSlot(table, "much too long", 10);
    appendSlot(table, "", 10);
    EXPECT_EQ(table, std::string("Nine char\0much too \0\0\0\0\0\0\0\0\0\0\0", 30));
}

TEST(Lists, NamesAreSplit)
{
    EXPECT_THAT(splitNames(""), IsEmpty());
    EXPECT_THAT(splitNames(":"), IsEmpty());
    EXPECT_THAT(splitNames("A"), ElementsAre("A"));
    EXPECT_THAT(splitNames("A:B C"), ElementsAre("A", "B C"));
    EXPECT_THAT(splitNames(":A:B"), ElementsAre("A", "B"));
    EXPECT_THAT(splitNames("A:"), ElementsAre("A"));
}

TEST(Events, BatchComesThrough)
{
    BatchWriter writer;
    writer.add(EventKind::Parameter, 3, 17, "VMon", 1.5f);
    writer.add(EventKind::Parameter, -1, -1, "Location", std::string("hall"));
    writer.add(EventKind::Alarm, 4, -1, "", 0);
    const auto unpacked = unpackPayload(payloadOf(writer.finish(12)));
    const BatchReader reader(unpacked);
    EXPECT_EQ(reader.handle(), 12);
    ASSERT_EQ(reader.count(), 3u);
    EXPECT_EQ(reader.event(0).channel, 17);
    EXPECT_EQ(reader.event(0).name, "VMon");
    EXPECT_EQ(convert<float>(*reader.event(0).value), 1.5f);
    EXPECT_EQ(convert<std::string>(*reader.event(1).value), "hall");
    EXPECT_EQ(reader.event(2).kind, EventKind::Alarm);
}

TEST(Events, NumberOfRecordsIsBounded)
{
    BatchWriter writer;
    for (size_t index = 0; index <= maxBatchRecords; ++index)
        writer.add(EventKind::KeepAlive, -1, -1, "", 0);
    const auto unpacked = unpackPayload(payloadOf(writer.finish(0)));
    EXPECT_THROW(BatchReader reader(unpacked), BadFrame);
}
