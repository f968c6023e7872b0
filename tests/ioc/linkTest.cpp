// Records whose link is not of the kind that the device support serves.
#include "iocSupport.h"

#include <dbAccessDefs.h>

namespace {

class WrongLink : public IocTest {};

struct Message {
    const char *type;
    const char *text;
};
constexpr Message messages[] = {
    {"ai", "%: ai INP field type should be INST_IO\n"},
    {"ao", "%: ao OUT field type should be INST_IO\n"},
    {"bi", "%: bi INP field type should be INST_IO\n"},
    {"bo", "%: bi INP field type should be INST_IO\n"},
    {"mbbi", "%: mbbi INP field type should be INST_IO\n"},
    {"mbbo", "%: mbbo INP field type should be INST_IO\n"},
    {"mbbiDirect", "%: mbbiDirect INP field type should be INST_IO\n"},
    {"mbboDirect", "%: mbboDirect INP field type should be INST_IO\n"},
    {"stringin", "%: stringin INP field type should be INST_IO\n"},
    {"stringout", "%: stringout OUT field type should be INST_IO\n"},
};

// A link of another kind, for a scope.
class LinkOfKind {
public:
    LinkOfKind(DBLINK *link, short kind) : m_link(link), m_before(link->type)
    {
        m_link->type = kind;
    }
    ~LinkOfKind() { m_link->type = m_before; }

private:
    DBLINK *m_link;
    short m_before;
};

} // namespace

TEST_F(WrongLink, IsRefusedWithAMessageAtEveryLevel)
{
    for (const Message &message : messages) {
        for (const short kind : {CONSTANT, PV_LINK, VME_IO, JSON_LINK}) {
            SCOPED_TRACE(::testing::Message() << message.type << ", kind " << kind);
            const LinkOfKind wrong(linkOf(message.type, "Missing"), kind);
            const std::string name = recordOf(message.type, "Missing");
            const std::string expected = name + (message.text + 1);
            EXPECT_EQ(printedAt(0, [&] { EXPECT_EQ(callInit(name), S_db_badField); }), expected);
        }
    }
}

TEST_F(WrongLink, TheRightKindIsAcceptedInSilence)
{
    for (const Message &message : messages) {
        if (recordType(message.type).isInput)
            continue; // their init would give the records of the running IOC another list
        const std::string name = recordOf(message.type, "Missing");
        EXPECT_EQ(printedAt(10, [&] { EXPECT_EQ(callInit(name), 0); }), "");
    }
}
