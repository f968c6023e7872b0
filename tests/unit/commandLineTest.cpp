#include "unitSupport.h"

#include "ZANTOcommandline.h"

namespace {

// Arguments as main() gets them: writable, with a null pointer at the end.
class Arguments {
public:
    explicit Arguments(std::vector<std::string> words) : m_words(std::move(words))
    {
        for (std::string &word : m_words)
            m_pointers.push_back(word.data());
        m_pointers.push_back(nullptr);
    }

    ZANTOCommandLine parse()
    {
        return ZANTOParseCommandLine(static_cast<int>(m_words.size()), m_pointers.data());
    }
    const std::string &word(std::size_t index) const { return m_words[index]; }

private:
    std::vector<std::string> m_words;
    std::vector<char *> m_pointers;
};

// Behind the program's name and a script.
ZANTOCommandLine parsed(std::vector<std::string> options)
{
    options.insert(options.begin(), {"zantoioc", "st.cmd"});
    return Arguments(std::move(options)).parse();
}

class CommandLine : public ZantoTest {};

} // namespace

TEST_F(CommandLine, WithoutOptionsHasTheDefaults)
{
    const ZANTOCommandLine line = parsed({});
    EXPECT_EQ(line.script, "st.cmd");
    EXPECT_EQ(line.crateName, "ZANTO");
    EXPECT_EQ(line.host, "127.0.0.1");
    EXPECT_EQ(line.user, "");
    EXPECT_EQ(line.password, "");
    EXPECT_FALSE(line.credentials);
    EXPECT_FALSE(line.daemon);
    EXPECT_FALSE(line.version);
    EXPECT_EQ(line.crateCount, 0);
    EXPECT_EQ(DEBUG, 0);
}

TEST_F(CommandLine, WithNothingButTheProgramsNameHasNoScript)
{
    EXPECT_EQ(Arguments({"zantoioc"}).parse().script, "");
    EXPECT_EQ(Arguments({}).parse().script, "");
}

TEST_F(CommandLine, ReadsEveryOption)
{
    const ZANTOCommandLine line =
        parsed({"-c", "CRATE@10.1.2.3", "-u", "user", "-p", "secret", "-d", "-D", "7"});
    EXPECT_EQ(line.crateName, "CRATE");
    EXPECT_EQ(line.host, "10.1.2.3");
    EXPECT_EQ(line.user, "user");
    EXPECT_EQ(line.password, "secret");
    EXPECT_TRUE(line.daemon);
    EXPECT_FALSE(line.version);
    EXPECT_EQ(line.crateCount, 1);
    EXPECT_EQ(DEBUG, 7);
}

TEST_F(CommandLine, TellsWhetherItGivesCredentials)
{
    EXPECT_TRUE(parsed({"-u", "user"}).credentials);
    EXPECT_TRUE(parsed({"-p", ""}).credentials);
    EXPECT_FALSE(parsed({"-c", "-u", "-D", "-p"}).credentials) << "values of other options";
    EXPECT_FALSE(parsed({"-c", "CRATE@10.1.2.3", "-u"}).credentials) << "without its value";
}

TEST_F(CommandLine, TheFirstArgumentIsTheScriptWhateverItLooksLike)
{
    for (const char *first : {"-v", "-c", "-d", "-D"}) {
        SCOPED_TRACE(first);
        const ZANTOCommandLine line = Arguments({"zantoioc", first, "A@1.2.3.4"}).parse();
        EXPECT_EQ(line.script, first);
        EXPECT_FALSE(line.version);
        EXPECT_FALSE(line.daemon);
        EXPECT_EQ(line.crateCount, 0);
    }
}

TEST_F(CommandLine, TheVersionEndsTheReading)
{
    const ZANTOCommandLine line = parsed({"-u", "user", "-v", "-c", "CRATE@10.1.2.3", "-d"});
    EXPECT_TRUE(line.version);
    EXPECT_EQ(line.user, "user");
    EXPECT_EQ(line.crateCount, 0);
    EXPECT_FALSE(line.daemon);
}

TEST_F(CommandLine, AVersionThatIsAnOptionsValueIsThatValue)
{
    const ZANTOCommandLine line = parsed({"-u", "-v", "-p", "-d"});
    EXPECT_EQ(line.user, "-v");
    EXPECT_EQ(line.password, "-d");
    EXPECT_FALSE(line.version);
    EXPECT_FALSE(line.daemon);
}

TEST_F(CommandLine, AnOptionThatLacksItsValueIsIgnored)
{
    DEBUG = 3;
    for (const char *option : {"-c", "-u", "-p", "-D"}) {
        SCOPED_TRACE(option);
        const ZANTOCommandLine line = parsed({"-d", option});
        EXPECT_TRUE(line.daemon);
        EXPECT_EQ(line.crateCount, 0);
        EXPECT_EQ(line.user + line.password, "");
        EXPECT_EQ(DEBUG, 3);
    }
}

TEST_F(CommandLine, OptionsAreMatchedExactlyAndUnknownOnesSkippedInSilence)
{
    StdoutCapture output;
    const ZANTOCommandLine line =
        parsed({"-version", "-V", "--d", "-dd", "", "-c ", "A@1.2.3.4", "-u", "user"});
    EXPECT_EQ(output.text(), "");
    EXPECT_FALSE(line.version);
    EXPECT_FALSE(line.daemon);
    EXPECT_EQ(line.crateCount, 0);
    EXPECT_EQ(line.user, "user");
}

TEST_F(CommandLine, TheLastCrateWinsAndEachIsCounted)
{
    const ZANTOCommandLine line = parsed({"-c", "A@10.0.0.1", "-c", "B"});
    EXPECT_EQ(line.crateName, "B");
    EXPECT_EQ(line.host, "127.0.0.1");
    EXPECT_EQ(line.crateCount, 2);
}

TEST_F(CommandLine, TheCratesValueIsSplitAtRunsOfAts)
{
    const struct {
        const char *value, *crate, *host;
    } cases[] = {
        {"CRATE@10.1.2.3", "CRATE", "10.1.2.3"},
        {"CRATE", "CRATE", "127.0.0.1"},
        {"CRATE@", "CRATE", "127.0.0.1"},
        {"@10.1.2.3", "10.1.2.3", "127.0.0.1"},
        {"A@B@C", "A", "B"},
        {"@@A@@@B@@", "A", "B"},
        {"@", "ZANTO", "127.0.0.1"},
        {"@@@", "ZANTO", "127.0.0.1"},
        {"", "ZANTO", "127.0.0.1"},
        {" A @ B ", " A ", " B "},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.value);
        std::string crate = "before";
        std::string host = "before";
        ZANTOSplitCrate(c.value, crate, host);
        EXPECT_EQ(crate, c.crate);
        EXPECT_EQ(host, c.host);
    }
}

TEST_F(CommandLine, TheDebugLevelIsTheLow16BitsOfANumber)
{
    const struct {
        const char *text;
        int16_t level;
    } cases[] = {{"10", 10},
                 {"65537", 1},
                 {"32768", -32768},
                 {"-1", -1},
                 {"abc", 0},
                 {"", 0},
                 {"5abc", 5},
                 {" 6", 6},
                 {"0x7", 0},
                 {"010", 10},
                 {"99999999999999999999", -1}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        DEBUG = 9;
        parsed({"-D", c.text});
        EXPECT_EQ(DEBUG, c.level);
    }
}

TEST_F(CommandLine, LongTextsAreCut)
{
    const std::string text = repeated("x", 300);
    const ZANTOCommandLine line = Arguments({"zantoioc", text, "-u", text, "-p", text}).parse();
    EXPECT_EQ(line.script, text.substr(0, 254));
    EXPECT_EQ(line.user, text.substr(0, 254));
    EXPECT_EQ(line.password, text.substr(0, 254));
}

TEST_F(CommandLine, TextsOfJustTheCapacityAreKept)
{
    const std::string text = repeated("x", 254);
    EXPECT_EQ(Arguments({"zantoioc", text}).parse().script, text);
    EXPECT_EQ(parsed({"-c", repeated("c", 1023)}).crateName, repeated("c", 1023));
}

TEST_F(CommandLine, ALongCrateIsCutBeforeItIsSplit)
{
    const ZANTOCommandLine line = parsed({"-c", repeated("c", 1020) + "@10.1.2.3"});
    EXPECT_EQ(line.crateName, repeated("c", 1020));
    EXPECT_EQ(line.host, "10");
    EXPECT_EQ(parsed({"-c", repeated("c", 1023) + "@h"}).host, "127.0.0.1");
}

TEST_F(CommandLine, NoProcessListShowsThePassword)
{
    Arguments arguments({"zantoioc", "st.cmd", "-p", "secret", "-p", "second", "-u", "user"});
    EXPECT_EQ(arguments.parse().password, "second");
    EXPECT_EQ(arguments.word(3), "      ");
    EXPECT_EQ(arguments.word(5), "      ");
    EXPECT_EQ(arguments.word(7), "user");
}
