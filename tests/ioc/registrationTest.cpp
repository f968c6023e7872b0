// What the server makes known to the IOC.
#include "iocSupport.h"

#include "ZANTOchangedrecords.h"
#include "ZANTOrecord.h"

#include <dbAccess.h>
#include <dbBase.h>
#include <dbStaticLib.h>
#include <devSup.h>
#include <drvSup.h>
#include <iocsh.h>
#include <registryDeviceSupport.h>
#include <registryDriverSupport.h>
#include <registryRecordType.h>

#include <cstdlib>
#include <set>

extern "C" {
int ZANTO_registerRecordDeviceDriver(dbBase *base);
int ZANTOextra_registerRecordDeviceDriver(dbBase *base);
}

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

namespace {

constexpr const char *expectedRecordTypes[] = {
    "aai",     "aao",     "ai",         "ao",        "aSub",       "bi",         "bo",
    "calc",    "calcout", "compress",   "dfanout",   "event",      "fanout",     "longin",
    "longout", "mbbi",    "mbbiDirect", "mbbo",      "mbboDirect", "permissive", "sel",
    "seq",     "state",   "stringin",   "stringout", "sub",        "subArray",   "waveform"};

constexpr const char *expectedSupports[] = {"devAaiSoft",
                                            "devAaoSoft",
                                            "devAiSoft",
                                            "devAiSoftRaw",
                                            "devTimestampAI",
                                            "devAiGeneralTime",
                                            "devVEXAZANTOAi",
                                            "devAoSoft",
                                            "devAoSoftRaw",
                                            "devAoSoftCallback",
                                            "devVEXAZANTOAo",
                                            "devBiSoft",
                                            "devBiSoftRaw",
                                            "devVEXAZANTOBi",
                                            "devBoSoft",
                                            "devBoSoftRaw",
                                            "devBoSoftCallback",
                                            "devBoGeneralTime",
                                            "devVEXAZANTOBo",
                                            "devCalcoutSoft",
                                            "devCalcoutSoftCallback",
                                            "devEventSoft",
                                            "devLiSoft",
                                            "devLiGeneralTime",
                                            "devLoSoft",
                                            "devLoSoftCallback",
                                            "devMbbiSoft",
                                            "devMbbiSoftRaw",
                                            "devVEXAZANTOMBBi",
                                            "devMbbiDirectSoft",
                                            "devMbbiDirectSoftRaw",
                                            "devVEXAZANTOMBBiDirect",
                                            "devMbboSoft",
                                            "devMbboSoftRaw",
                                            "devMbboSoftCallback",
                                            "devVEXAZANTOMBBo",
                                            "devMbboDirectSoft",
                                            "devMbboDirectSoftRaw",
                                            "devMbboDirectSoftCallback",
                                            "devVEXAZANTOMBBoDirect",
                                            "devSiSoft",
                                            "devTimestampSI",
                                            "devSiGeneralTime",
                                            "devVEXAZANTOStringin",
                                            "devSoSoft",
                                            "devSoSoftCallback",
                                            "devSoStdio",
                                            "devVEXAZANTOStringout",
                                            "devSASoft",
                                            "devWfSoft"};

template <typename Node, typename Use> void forEach(const ELLLIST &list, const Use &use)
{
    for (ELLNODE *node = ellFirst(&list); node != nullptr; node = ellNext(node))
        use(*reinterpret_cast<const Node *>(node));
}

template <typename Node> Lines namesIn(const ELLLIST &list)
{
    Lines names;
    forEach<Node>(list, [&names](const Node &node) { names.emplace_back(node.name); });
    return names;
}

// The registrars and functions of the definition.
Lines textsIn(const ELLLIST &list)
{
    Lines texts;
    forEach<dbText>(list, [&texts](const dbText &node) { texts.emplace_back(node.text); });
    return texts;
}

// Deprecated because the shell's table may change behind its back; here it does not.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
const iocshCmdDef *findCommand(const char *name) { return iocshFindCommand(name); }
#pragma GCC diagnostic pop

class Registration : public IocTest {};

using RegistrationDeathTest = IocDeathTest;

constexpr const char *noDefinitions = "pdbbase is NULL; you must load a DBD file first.\n";

std::string registeredWithNothing()
{
    return printedAt(0, [] { ZANTO_registerRecordDeviceDriver(nullptr); });
}

} // namespace

// ---- contents of the definition ----

TEST_F(Registration, TheRecordTypesAreThese28)
{
    EXPECT_THAT(namesIn<dbRecordType>(pdbbase->recordTypeList),
                UnorderedElementsAreArray(expectedRecordTypes));
    for (const char *name : expectedRecordTypes)
        EXPECT_NE(registryRecordTypeFind(name), nullptr) << name;
    EXPECT_EQ(std::size(expectedRecordTypes), 28U);
}

TEST_F(Registration, TheDeviceSupportsAreThese50InOrder)
{
    Lines names;
    forEach<dbRecordType>(pdbbase->recordTypeList, [&names](const dbRecordType &type) {
        for (const std::string &name : namesIn<devSup>(type.devList))
            names.push_back(name);
    });
    EXPECT_THAT(names, ElementsAreArray(expectedSupports));
    for (const char *name : expectedSupports)
        EXPECT_NE(registryDeviceSupportFind(name), nullptr) << name;
    EXPECT_EQ(std::size(expectedSupports), 50U);
}

TEST_F(Registration, TheServersOwnSupportsServeHardwareLinks)
{
    Lines own;
    forEach<dbRecordType>(pdbbase->recordTypeList, [&own](const dbRecordType &type) {
        forEach<devSup>(type.devList, [&](const devSup &support) {
            if (std::string(support.choice) != "VEXA ZANTO Item")
                return;
            EXPECT_EQ(support.link_type, INST_IO);
            own.push_back(std::string(type.name) + ": " + support.name);
        });
    });
    EXPECT_THAT(own,
                ElementsAre("ai: devVEXAZANTOAi", "ao: devVEXAZANTOAo", "bi: devVEXAZANTOBi",
                            "bo: devVEXAZANTOBo", "mbbi: devVEXAZANTOMBBi",
                            "mbbiDirect: devVEXAZANTOMBBiDirect", "mbbo: devVEXAZANTOMBBo",
                            "mbboDirect: devVEXAZANTOMBBoDirect", "stringin: devVEXAZANTOStringin",
                            "stringout: devVEXAZANTOStringout"));
}

TEST_F(Registration, TheDriverAndTheRegistrarsAreThese)
{
    EXPECT_THAT(namesIn<drvSup>(pdbbase->drvList), ElementsAre("drvVEXAZANTO"));
    EXPECT_NE(registryDriverSupportFind("drvVEXAZANTO"), nullptr);
    EXPECT_THAT(
        textsIn(pdbbase->registrarList),
        ElementsAre("asSub", "dbPvRegister", "startPVAServerRegister", "stopPVAServerRegister"));
}

TEST_F(Registration, TheVariablesAreTheseBesidesThoseOfTheRecordTypesThemselves)
{
    // Newer bases declare these where they define the record types.
    const std::set<std::string> ofRecordTypes = {
        "boHIGHlimit double",       "boHIGHprecision int", "calcoutODLYlimit double",
        "calcoutODLYprecision int", "seqDLYlimit double",  "seqDLYprecision int"};
    Lines variables;
    forEach<dbVariableDef>(pdbbase->variableList, [&](const dbVariableDef &variable) {
        const std::string text = std::string(variable.name) + " " + variable.type;
        if (ofRecordTypes.count(text) == 0)
            variables.push_back(text);
        EXPECT_NE(iocshFindVariable(variable.name), nullptr) << variable.name;
    });
    EXPECT_THAT(variables, UnorderedElementsAre("asCaDebug int", "dbRecordsOnceOnly int",
                                                "dbBptNotMonotonic int", "dbTemplateMaxVars int"));
}

TEST_F(Registration, ThereIsNothingMore)
{
    EXPECT_EQ(ellCount(&pdbbase->linkList), 0);
    EXPECT_EQ(ellCount(&pdbbase->functionList), 0);
    EXPECT_EQ(ellCount(&pdbbase->bptList), 0);
}

TEST_F(Registration, TheRecordsAreServedOverPvAccess)
{
    EXPECT_NE(findCommand("startPVAServer"), nullptr);
    EXPECT_NE(findCommand("stopPVAServer"), nullptr);
}

TEST_F(Registration, TheDriversInitHasSubscribedEveryParameter)
{
    const std::string port = std::to_string(static_cast<int16_t>(tcpPort));
    EXPECT_NE(tcpPort, 0);
    EXPECT_THAT(callsAtStart(),
                ElementsAre("SubscribeSystemParams(7, " + port + ", Text, 1)",
                            "SubscribeBoardParams(7, " + port + ", 0, , 0)",
                            "SubscribeChannelParams(7, " + port +
                                ", 0, 0, Int:Short:Long:UInt:UShort:ULong:Float:String:Bool:"
                                "Enum, 10)",
                            "SubscribeChannelParams(7, " + port +
                                ", 0, 1, VSet:IMon:VMon:Early:Pw:Mask:Status, 7)"));
}

// ---- entry tables ----

TEST_F(Registration, TheEntryTablesHoldTheRoutinesOfTheirDirectionAlone)
{
    for (const RecordType &type : recordTypes) {
        SCOPED_TRACE(type.name);
        const auto *table = reinterpret_cast<const ZANTODset6<dbCommon> *>(
            record(recordOf(type.name, "Int"))->dset);
        const std::string name = type.name;
        const bool hasSix = name[0] == 'a' || name[0] == 's';
        EXPECT_EQ(table->number, hasSix ? 6 : 5);
        EXPECT_EQ(table->report, nullptr);
        EXPECT_EQ(table->init, nullptr);
        EXPECT_NE(table->init_record, nullptr);
        EXPECT_EQ(table->get_ioint_info != nullptr, type.isInput);
        EXPECT_NE(table->read_write, nullptr);
        EXPECT_TRUE(!hasSix || table->special_linconv == nullptr);
    }
}

TEST_F(Registration, RecordsOfOneTypeShareTheirScanListAndOfTwoTypesDoNot)
{
    Lines seen;
    std::vector<IOSCANPVT> lists;
    for (const RecordType &type : recordTypes) {
        if (!type.isInput)
            continue;
        std::vector<IOSCANPVT> own;
        for (const char *node : {"Int", "Float"}) {
            dbCommon *common = record(recordOf(type.name, node));
            const auto *table = reinterpret_cast<const ZANTODset5<dbCommon> *>(common->dset);
            for (const int command : {0, 1}) {
                IOSCANPVT list = nullptr;
                EXPECT_EQ(table->get_ioint_info(command, common, &list), 0);
                own.push_back(list);
            }
        }
        EXPECT_NE(own[0], nullptr);
        EXPECT_THAT(own, ::testing::Each(own[0])) << type.name;
        EXPECT_THAT(lists, ::testing::Not(::testing::Contains(own[0]))) << type.name;
        lists.push_back(own[0]);
    }
    EXPECT_EQ(lists.size(), 5U);
}

// ---- the command ----

TEST_F(RegistrationDeathTest, TheCommandIsThereBeforeAnythingIsLoaded)
{
    inFreshProcess([] {
        const iocshCmdDef *command = findCommand("ZANTO_registerRecordDeviceDriver");
        ASSERT_NE(command, nullptr);
        EXPECT_EQ(command->pFuncDef->nargs, 1);
        EXPECT_NE(findCommand("dbLoadDatabase"), nullptr) << "the core's common commands";
    });
}

TEST_F(RegistrationDeathTest, WithoutDefinitionsItSaysSoAndRegistersNothing)
{
    inFreshProcess([] {
        unsetenv("TOP");
        EXPECT_EQ(registeredWithNothing(), noDefinitions);
        EXPECT_EQ(registryRecordTypeFind("ai"), nullptr);
        EXPECT_EQ(registryDeviceSupportFind("devVEXAZANTOAi"), nullptr);
        EXPECT_EQ(registryDriverSupportFind("drvVEXAZANTO"), nullptr);
        EXPECT_EQ(iocshFindVariable("asCaDebug"), nullptr);
        EXPECT_EQ(findCommand("startPVAServer"), nullptr);
    });
}

TEST_F(RegistrationDeathTest, AnotherTopFolderIsWarnedAbout)
{
    inFreshProcess([] {
        setenv("TOP", "/somewhere/else", 1);
        EXPECT_EQ(registeredWithNothing(),
                  std::string("Warning: IOC is booting with TOP = \"/somewhere/else\"\n"
                              "          but was built with TOP = \"") +
                      ZANTO_TOP + "\"\n" + noDefinitions);
    });
}

TEST_F(RegistrationDeathTest, TheOwnTopFolderIsNot)
{
    inFreshProcess([] {
        setenv("TOP", ZANTO_TOP, 1);
        EXPECT_EQ(registeredWithNothing(), noDefinitions);
    });
}

TEST_F(RegistrationDeathTest, WithDefinitionsItRegistersInSilence)
{
    inFreshProcess([] {
        unsetenv("TOP");
        EXPECT_EQ(printedAt(10, loadDefinitions), "");
        EXPECT_NE(registryDeviceSupportFind("devVEXAZANTOAi"), nullptr);
    });
}

// ---- the second definition ----

TEST_F(RegistrationDeathTest, TheVariableForLargeCratesIsDeclaredByTheSecondDefinitionAlone)
{
    inFreshProcess([] {
        unsetenv("TOP");
        loadDefinitions();
        EXPECT_EQ(iocshFindVariable("ZANTOScanChangedOnly"), nullptr);
        iocshCmd("var ZANTOScanChangedOnly 1"); // not found
        EXPECT_FALSE(ZANTOScansChangedOnly());

        const int before = ellCount(&pdbbase->variableList);
        ASSERT_EQ(dbReadDatabase(&pdbbase, ZANTO_EXTRA_DBD, nullptr, nullptr), 0);
        EXPECT_EQ(ellCount(&pdbbase->variableList), before + 1);
        EXPECT_EQ(printedAt(10, [] { ZANTOextra_registerRecordDeviceDriver(pdbbase); }), "");
        EXPECT_FALSE(ZANTOScansChangedOnly());
        for (const char *value : {"1", "0", "-1", "0", "2"}) {
            EXPECT_EQ(iocshCmd((std::string("var ZANTOScanChangedOnly ") + value).c_str()), 0);
            EXPECT_EQ(ZANTOScansChangedOnly(), *value != '0') << value;
        }
    });
}

TEST_F(RegistrationDeathTest, TheSecondCommandWithoutDefinitionsSaysSo)
{
    inFreshProcess([] {
        unsetenv("TOP");
        EXPECT_NE(findCommand("ZANTOextra_registerRecordDeviceDriver"), nullptr);
        EXPECT_EQ(printedAt(0, [] { ZANTOextra_registerRecordDeviceDriver(nullptr); }),
                  noDefinitions);
        EXPECT_EQ(iocshFindVariable("ZANTOScanChangedOnly"), nullptr);
    });
}
