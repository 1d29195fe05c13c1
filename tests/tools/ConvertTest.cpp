#include "Tool.h"

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

ProgramResult Convert(const std::vector<std::string>& arguments, const std::string& input)
{
    std::vector<std::string> command = {"convert", "-"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunToolWithTypes(command, input);
}

TEST(Convert, GoesEitherWay)
{
    const std::string source = "tool.Point { x = 2.5 }";
    const std::string json = "{\n  \"$class\": \"tool::Point\",\n  \"x\": 2.5,\n  \"y\": 0.0\n}\n";
    EXPECT_EQ(Convert({}, source), (ProgramResult{0, json, ""}));
    EXPECT_EQ(Convert({}, json), (ProgramResult{0, "tool::Point {\n    x = 2.5\n    y = 0.0\n}\n", ""}));
}

TEST(Convert, IsTheInverseOfPrintingJson)
{
    const std::string json = RunToolWithTypes({"print", "--json", "-"}, "tool.Scene { title = 'a' }").m_output;
    const ProgramResult source = Convert({}, json);
    EXPECT_EQ(source.m_errors, "");
    EXPECT_EQ(RunToolWithTypes({"print", "--json", "-"}, source.m_output).m_output, json);
}

TEST(Convert, TakesWhatItIsTold)
{
    EXPECT_EQ(Convert({"--class", "tool::Point"}, "{\"x\":1}").m_output, "tool::Point {\n    x = 1\n}\n");
    // The JSON's own word comes first.
    EXPECT_EQ(Convert({"--class", "tool::Scene"}, "{\"$class\":\"tool::Point\",\"x\":1}").m_output,
              "tool::Point {\n    x = 1\n}\n");
    EXPECT_EQ(Convert({"--to", "kds"}, "null").m_output, "null\n");
    EXPECT_EQ(Convert({"--to", "json"}, "null").m_output, "null\n");
    EXPECT_EQ(Convert({"--to", "yaml"}, "null"),
              (ProgramResult{2, "", "kelmscript: error: --to: yaml is neither kds nor json\n"}));

    const TemporaryFolder folder;
    const std::string file = folder.MakeFile("a.json", "// none\nnull");
    EXPECT_EQ(RunToolWithTypes({"convert", file}), (ProgramResult{0, "null\n", ""}));
}

struct FaultRow
{
    std::string m_json;
    std::string m_errors;
};

const FaultRow s_faults[] = {
    {"{\n  \"$class\": \"tool::Point\",\n  \"x\": \"one\"\n}",
     "<stdin>:3:8: error: Expected float64 when read \"one\"\n"
     "  \"x\": \"one\"\n"
     "       ^\n"},
    {R"({"$class":"tool::Scene","tiny":300})", "<stdin>:1:32: error: Value 300 is out of range of int8\n"
                                               "{\"$class\":\"tool::Scene\",\"tiny\":300}\n"
                                               "                               ^\n"},
    {R"({"$class":"tool::Point","z":1})", "<stdin>:1:25: error: Unknown member 'z' of class tool::Point\n"
                                          "{\"$class\":\"tool::Point\",\"z\":1}\n"
                                          "                        ^\n"
                                          "<stdin>:1:25: note: there are x and y\n"
                                          "{\"$class\":\"tool::Point\",\"z\":1}\n"
                                          "                        ^\n"},
    {R"({"$class":"tool::Point","x":1,"x":2})", "<stdin>:1:31: error: member 'x' is written twice\n"
                                                "{\"$class\":\"tool::Point\",\"x\":1,\"x\":2}\n"
                                                "                              ^\n"},
    {R"({"$class":"tool::Sealed"})", "<stdin>:1:11: error: 'tool::Sealed' doesn't support dynamic creation\n"
                                     "{\"$class\":\"tool::Sealed\"}\n"
                                     "          ^\n"},
};

TEST(Convert, TellsFaultsAtTheirPlacesInTheJson)
{
    for (const FaultRow& row : s_faults)
        EXPECT_EQ(Convert({}, row.m_json), (ProgramResult{1, "", row.m_errors}));
}

} // namespace

} // namespace kelm
