// What the person has asked for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/xelini/failure.h"
#include "tools/xelini/text_codec.h"

namespace xelini {

// The arguments of one command; what the command does not take stays empty.
struct Request {
    // Host paths; "-" is standard input, at most once.
    std::vector<std::string> files;
    std::optional<Text> section;
    std::optional<Text> key;
    struct Triple {
        Text section;
        Text key;
        Text value;
    };
    std::vector<Triple> triples;
    std::optional<std::string> defaultText;
    // Of --encoding.
    std::optional<Width> width;
    bool fromUtf8 = false;
    std::optional<std::string> output;
    bool json = false;
    bool mayCut = false;
};

using Command = Status (*)(const Request&);

struct CommandLine {
    // Null when the person only asked for help or version, which are printed then.
    Command command = nullptr;
    Request request;
};

// Takes the arguments behind the program's name. Throws Failure for wrong use.
CommandLine parseCommandLine(const std::vector<std::string>& given);

} // namespace xelini
