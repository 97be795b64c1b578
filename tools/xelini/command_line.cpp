#include "tools/xelini/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

#include "tools/xelini/commands.h"
#include "tools/xelini/output.h"

namespace xelini {

namespace {

// Arguments as they were given; checked and turned into a Request once all of them are known.
struct Arguments {
    std::vector<std::string> files;
    std::vector<std::string> texts;
    std::string section;
    std::string key;
    std::string defaultText;
    std::string encoding;
    std::string from;
    std::string output;
    bool json = false;
    bool mayCut = false;
};

struct CommandEntry {
    const char* name;
    const char* summary;
    Command run;
    void (*describe)(CLI::App& app, Arguments& arguments);
};

CLI::Option* addFile(CLI::App& app, Arguments& arguments)
{
    return app.add_option("FILE", arguments.files, "host path, or - for standard input")
        ->required()
        ->expected(1)
        ->allow_extra_args(false);
}

CLI::Option* addSection(CLI::App& app, Arguments& arguments)
{
    return app.add_option("SECTION", arguments.section,
                          "name; empty for entries that stand in no section");
}

CLI::Option* addKey(CLI::App& app, Arguments& arguments)
{
    return app.add_option("KEY", arguments.key, "key, with its spaces");
}

CLI::Option* addEncoding(CLI::App& app, Arguments& arguments, const char* help)
{
    return app.add_option("--encoding", arguments.encoding, help)->type_name("8bit|utf16le");
}

void addJson(CLI::App& app, Arguments& arguments)
{
    app.add_flag("--json", arguments.json, "print JSON");
}

void addAllowCut(CLI::App& app, Arguments& arguments)
{
    app.add_flag("--allow-cut", arguments.mayCut, "drop text behind a zero character");
}

void describeCheck(CLI::App& app, Arguments& arguments)
{
    app.add_option("FILE", arguments.files, "host paths, or - for standard input")->required();
}

void describeList(CLI::App& app, Arguments& arguments)
{
    addFile(app, arguments);
    addSection(app, arguments);
    addJson(app, arguments);
}

void describeGet(CLI::App& app, Arguments& arguments)
{
    addFile(app, arguments);
    addSection(app, arguments)->required();
    addKey(app, arguments)->required();
    app.add_option("--default", arguments.defaultText, "what to print when there is no such key")
        ->type_name("TEXT");
}

void describeExists(CLI::App& app, Arguments& arguments)
{
    addFile(app, arguments);
    addSection(app, arguments)->required();
    addKey(app, arguments);
}

void describeSet(CLI::App& app, Arguments& arguments)
{
    addFile(app, arguments);
    app.add_option("SECTION-KEY-VALUE", arguments.texts, "as many triples as are to be set")
        ->required();
    addEncoding(app, arguments, "makes a missing or empty file, in this encoding");
    addAllowCut(app, arguments);
}

void describeUnset(CLI::App& app, Arguments& arguments)
{
    addFile(app, arguments);
    addSection(app, arguments)->required();
    addKey(app, arguments);
    addAllowCut(app, arguments);
}

void addOutput(CLI::App& app, Arguments& arguments, bool isRequired)
{
    app.add_option("-o,--output", arguments.output, "host path, or - for standard output")
        ->type_name("OUT")
        ->required(isRequired);
}

void describeConvert(CLI::App& app, Arguments& arguments)
{
    addFile(app, arguments);
    addEncoding(app, arguments, "of the result")->required();
    app.add_option("--from", arguments.from, "what the file really holds")->type_name("utf-8");
    addOutput(app, arguments, false);
    addAllowCut(app, arguments);
}

void describeMerge(CLI::App& app, Arguments& arguments)
{
    app.add_option("FILE", arguments.files, "the base, and what is laid over it, the last on top")
        ->required()
        ->expected(2, CLI::detail::expected_max_vector_size);
    addOutput(app, arguments, true);
    addAllowCut(app, arguments);
}

void describeDiff(CLI::App& app, Arguments& arguments)
{
    app.add_option("FILE", arguments.files, "the two files")
        ->required()
        ->expected(2)
        ->allow_extra_args(false);
    addJson(app, arguments);
}

constexpr CommandEntry kCommands[] = {
    {"check", "tell encoding, sections and entries of files, or what is wrong with them", check,
     describeCheck},
    {"list", "print sections and entries", list, describeList},
    {"get", "print one value", get, describeGet},
    {"exists", "tell by the exit status whether a section or key is there", exists, describeExists},
    {"set", "change or add values: FILE SECTION KEY VALUE [SECTION KEY VALUE ...]", set,
     describeSet},
    {"unset", "remove a key or a section", unset, describeUnset},
    {"convert", "change the encoding of a file", convert, describeConvert},
    {"merge", "lay files over a base: BASE OVERLAY... -o OUT", merge, describeMerge},
    {"diff", "tell how the entries of two files differ", diff, describeDiff},
};

constexpr const char* kExitStatuses =
    "Arguments and output are UTF-8; texts that begin with '-' go behind '--'.\n"
    "Exit status: 0 done (diff: equal); 1 the content says no (refused file, missing key,\n"
    "differences, a change that would lose something); 2 wrong use or an input/output error.";

// The parser gives a meaning to some texts ("[a,b]", "++"); behind this character it leaves them
// alone.
constexpr char kShield = '\x01';

bool isOption(std::string_view argument)
{
    const bool isNumber =
        argument.size() > 1 && std::isdigit(static_cast<unsigned char>(argument[1]));
    return argument.size() > 1 && argument[0] == '-' && !isNumber;
}

// In the order that the parser wants: from the last to the first. The command's own name, which
// comes first, stays as it is.
std::vector<std::string> shielded(const std::vector<std::string>& given)
{
    std::vector<std::string> arguments;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < given.size(); ++i) {
        const std::string& argument = given[i];
        if (argument == "--" && !optionsEnded)
            optionsEnded = true;
        else if (argument == "--default=") // for which the parser would miss a value
            arguments.insert(arguments.end(), {"--default", {kShield}});
        else if (i == 0 || (isOption(argument) && !optionsEnded))
            arguments.push_back(argument);
        else
            arguments.push_back(kShield + argument);
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

void unshield(std::string& text)
{
    if (!text.empty() && text[0] == kShield)
        text.erase(0, 1);
}

void unshield(Arguments& arguments)
{
    for (std::vector<std::string>* const list : {&arguments.files, &arguments.texts})
        for (std::string& text : *list)
            unshield(text);
    for (std::string* const text : {&arguments.section, &arguments.key, &arguments.defaultText,
                                    &arguments.encoding, &arguments.from, &arguments.output})
        unshield(*text);
}

Failure wrongUse(const std::string& text)
{
    return {Status::failed, text};
}

Width widthNamed(const std::string& name)
{
    if (name == "8bit")
        return Width::narrow;
    if (name == "utf16le")
        return Width::wide;
    throw wrongUse("--encoding takes 8bit or utf16le, not '" + name + "'");
}

std::vector<Request::Triple> triplesOf(const std::vector<std::string>& texts)
{
    constexpr std::size_t kTripleSize = 3;
    if (texts.size() % kTripleSize != 0)
        throw wrongUse("set takes triples: SECTION KEY VALUE [SECTION KEY VALUE ...]");
    std::vector<Request::Triple> triples;
    for (std::size_t i = 0; i < texts.size(); i += kTripleSize)
        triples.push_back(
            {fromArgument(texts[i]), fromArgument(texts[i + 1]), fromArgument(texts[i + 2])});
    return triples;
}

bool isGiven(const CLI::App& app, const char* option)
{
    const CLI::Option* const found = app.get_option_no_throw(option);
    return found && found->count() > 0;
}

Request requestOf(const CLI::App& app, const Arguments& arguments)
{
    if (std::count(arguments.files.begin(), arguments.files.end(), "-") > 1)
        throw wrongUse("standard input can be read only once");
    Request request;
    request.files = arguments.files;
    request.triples = triplesOf(arguments.texts);
    request.json = arguments.json;
    request.mayCut = arguments.mayCut;
    if (isGiven(app, "SECTION"))
        request.section = fromArgument(arguments.section);
    if (isGiven(app, "KEY"))
        request.key = fromArgument(arguments.key);
    if (isGiven(app, "--default")) {
        fromArgument(arguments.defaultText);
        request.defaultText = arguments.defaultText;
    }
    if (isGiven(app, "--encoding"))
        request.width = widthNamed(arguments.encoding);
    if (isGiven(app, "--output"))
        request.output = arguments.output;
    request.fromUtf8 = isGiven(app, "--from");
    if (request.fromUtf8 && arguments.from != "utf-8")
        throw wrongUse("--from takes utf-8, not '" + arguments.from + "'");
    return request;
}

// The parser's words in the manner of all messages.
Failure wrongUse(const CLI::ParseError& error, const std::string& command)
{
    std::string text = error.what();
    text.erase(std::remove(text.begin(), text.end(), kShield), text.end());
    std::replace(text.begin(), text.end(), '\n', ' ');
    // "FILE is required" keeps its name.
    if (text.size() > 1 && !std::isupper(static_cast<unsigned char>(text[1])))
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return wrongUse(text + "; see xelini " + command + "--help");
}

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& given)
{
    const std::string_view name = given.empty() ? std::string_view() : given[0];
    const auto* const entry =
        std::find_if(std::begin(kCommands), std::end(kCommands),
                     [&](const CommandEntry& each) { return each.name == name; });
    const bool isKnown = entry != std::end(kCommands);
    if (!isKnown && !name.empty() && name[0] != '-')
        throw wrongUse("there is no command '" + std::string(name) + "'; see xelini --help");
    CLI::App app("Looks at, checks and changes settings files that devices read.", "xelini");
    app.set_version_flag("--version", "xelini " XELINI_VERSION);
    app.require_subcommand(1);
    app.footer(kExitStatuses);
    Arguments arguments;
    for (const CommandEntry& each : kCommands) {
        // Describing all of them would be the longest part of a short run.
        if (isKnown && &each != entry)
            continue;
        CLI::App* const command = app.add_subcommand(each.name, each.summary);
        command->footer(kExitStatuses);
        each.describe(*command, arguments);
    }
    try {
        app.parse(shielded(given));
        unshield(arguments);
        return {entry->run, requestOf(*app.get_subcommand(std::string(name)), arguments)};
    } catch (const CLI::CallForVersion& version) {
        printOutput(std::string(version.what()) + "\n");
    } catch (const CLI::Success&) {
        printOutput(isKnown ? app.get_subcommand(std::string(name))->help("xelini") : app.help());
    } catch (const CLI::ParseError& error) {
        throw wrongUse(error, isKnown ? std::string(name) + " " : "");
    }
    return {};
}

} // namespace xelini
