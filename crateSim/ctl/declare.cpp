#include "declare.h"

#include <fmt/format.h>

namespace sim::ctl {

namespace {

bool isOption(const std::string &synopsis) { return synopsis[0] == '-'; }

// "--last" of "--last N", "FIELD=VALUE" of "[FIELD=VALUE]...".
std::string nameOf(const std::string &synopsis)
{
    if (isOption(synopsis))
        return synopsis.substr(0, synopsis.find(' '));
    const size_t begin = synopsis.find_first_not_of('[');
    return synopsis.substr(begin, synopsis.find(']') - begin);
}

void declareOption(CLI::App &command, const std::string &synopsis, const std::string &help)
{
    const std::string name = nameOf(synopsis);
    if (name == synopsis)
        command.add_flag(name, help);
    else
        command.add_option(name, help)->type_name(synopsis.substr(name.size() + 1));
}

void declarePositional(CLI::App &command, const std::string &synopsis, const std::string &help)
{
    auto *option = command.add_option(nameOf(synopsis), help)->type_name("");
    option->required(synopsis[0] != '[');
    if (synopsis.back() == '.')
        option->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
}

void addArgument(Json &request, const Argument &argument, const std::string &text)
{
    const Json value = argument.form.parse(text);
    if (value.is_null())
        throw CLI::ValidationError(nameOf(argument.synopsis),
                                   fmt::format("\"{}\" is not {}", text, argument.form.name));
    if (argument.field != nullptr)
        request[argument.field] = value;
    else
        request.insert(value.begin(), value.end()); // what is there already stays
}

} // namespace

CLI::App &declare(CLI::App &app, const Command &command)
{
    CLI::App &declared = *app.add_subcommand(command.name, command.help);
    for (const auto &[synopsis, field, form, help] : command.arguments) {
        const auto declareArgument = isOption(synopsis) ? declareOption : declarePositional;
        declareArgument(declared, synopsis, help != nullptr ? help : form.name);
    }
    if (command.refine != nullptr)
        command.refine(declared);
    return declared;
}

Json requestOf(const CLI::App &given, const Command &command)
{
    Json request = {{"cmd", command.name}};
    request.update(command.fields);
    for (const auto &argument : command.arguments)
        if (argument.form.parse != nullptr)
            for (const auto &text : given[nameOf(argument.synopsis)]->results())
                addArgument(request, argument, text);
    return request;
}

} // namespace sim::ctl
