#include "FakeCrate.h"

FakeSysProp fakeSysProp(const std::string &name, uint32_t type, uint32_t mode,
                        const FakeBytes &value)
{
    return {name, type, mode, value};
}

FakeParameter fakeNumeric(const std::string &name, uint32_t mode, float value, float lowest,
                          float highest, uint16_t unit, int16_t exponent, int16_t decimals)
{
    return {name,
            VEXAHV_PARAM_NUMERIC,
            mode,
            FakeBytes::of(value),
            {{VEXAHV_PROP_MINVAL, FakeBytes::of(lowest)},
             {VEXAHV_PROP_MAXVAL, FakeBytes::of(highest)},
             {VEXAHV_PROP_UNIT, FakeBytes::of(unit)},
             {VEXAHV_PROP_EXP, FakeBytes::of(exponent)},
             {VEXAHV_PROP_DECIMAL, FakeBytes::of(decimals)}}};
}

FakeParameter fakeOnOff(const std::string &name, uint32_t mode, uint32_t value,
                        const std::string &on, const std::string &off)
{
    return {
        name,
        VEXAHV_PARAM_ONOFF,
        mode,
        FakeBytes::of(value),
        {{VEXAHV_PROP_ONSTATE, FakeBytes::text(on)}, {VEXAHV_PROP_OFFSTATE, FakeBytes::text(off)}}};
}

FakeParameter fakePlain(const std::string &name, uint32_t type, uint32_t mode, int32_t value)
{
    return {name, type, mode, FakeBytes::of(value), {}};
}

FakeParameter fakeInteger(const std::string &name, uint32_t type, uint32_t mode, int32_t value)
{
    FakeParameter parameter = fakeNumeric(name, mode, 0.0F, 0.0F, 255.0F);
    parameter.type = type;
    parameter.value = FakeBytes::of(value);
    return parameter;
}

FakeBoard fakeBoard(const std::string &model, uint16_t channelCount,
                    const std::vector<FakeParameter> &boardParameters,
                    const std::vector<FakeParameter> &channelParameters)
{
    FakeBoard board;
    board.model = model;
    board.description = model + " board";
    board.serialNumber = 100;
    board.firmwareMinor = 5;
    board.firmwareMajor = 3;
    board.parameters = boardParameters;
    for (uint16_t channel = 0; channel < channelCount; ++channel)
        board.channels.push_back({"CH" + std::to_string(channel), channelParameters});
    return board;
}

FakeCrate smallFakeCrate()
{
    const std::vector<FakeParameter> boardParameters = {
        fakeNumeric("Temp", VEXAHV_MODE_READ, 24.5F, 0.0F, 80.0F, 4, 0, 1),
        fakePlain("BdStatus", VEXAHV_PARAM_BOARD_STATUS, VEXAHV_MODE_READ),
        fakeOnOff("Reset", VEXAHV_MODE_WRITE, 0)};
    const std::vector<FakeParameter> channelParameters = {
        fakeNumeric("VSet", VEXAHV_MODE_READWRITE, 100.0F, 0.0F, 8000.0F, 2, 0, 2),
        fakeNumeric("IMon", VEXAHV_MODE_READ, 0.25F, 0.0F, 3000.0F, 1, -6, 3),
        fakeOnOff("Pw", VEXAHV_MODE_READWRITE, 1),
        fakePlain("Status", VEXAHV_PARAM_CHANNEL_STATUS, VEXAHV_MODE_READ, 1),
        fakeInteger("Mask", VEXAHV_PARAM_INTEGER, VEXAHV_MODE_READWRITE, 5),
        fakeInteger("Range", VEXAHV_PARAM_ENUM, VEXAHV_MODE_READWRITE, 1)};
    FakeCrate crate;
    crate.properties = {
        fakeSysProp("ModelName", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READ, FakeBytes::text("Model 1")),
        fakeSysProp("IPAddr", VEXAHV_SYSPROP_TEXT, VEXAHV_MODE_READWRITE,
                    FakeBytes::text("10.0.0.1")),
        fakeSysProp("ResFlag", VEXAHV_SYSPROP_UINT16, VEXAHV_MODE_READ,
                    FakeBytes::of<uint16_t>(1))};
    crate.commands = {"Clear Alarm"};
    crate.slots = {fakeBoard("A1", 2, boardParameters, channelParameters), FakeBoard(),
                   fakeBoard("A2", 2, boardParameters, channelParameters)};
    return crate;
}
