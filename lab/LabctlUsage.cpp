#include "lab/LabctlUsage.h"

#include "lab/Files.h"

#include <algorithm>

using plist::TValue;

namespace labctl {

const char* const kUsage = "labctl [--machine DIR] [--json] SUBCOMMAND";

// The table, taken apart

static std::string WithoutMarks(const std::string& word)
{
    std::string plain;
    for (const char character : word) {
        if (character != '[' && character != ']')
            plain += character;
    }
    return plain;
}

static bool EndsWith(const std::string& word, const std::string& end)
{
    return word.size() >= end.size() && word.compare(word.size() - end.size(), end.size(), end) == 0;
}

static TForm ReadForm(const std::string& text)
{
    TForm form;
    const TWords words = lab::Split(text, ' ');
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string word = WithoutMarks(words[i]);
        if (word.rfind("--", 0) == 0) {
            // A bracket behind it closes what it opened, so that no value follows.
            const bool hasValue = !EndsWith(words[i], "]");
            form.options.push_back({word.substr(2), hasValue ? WithoutMarks(words[i + 1]) : ""});
            i += hasValue ? 1 : 0;
            continue;
        }
        form.repeats = EndsWith(word, "...");
        if (form.repeats)
            word.resize(word.size() - 3);
        if (!word.empty())
            form.positions.push_back(lab::Split(word, '|'));
    }
    return form;
}

std::vector<TForm> FormsOf(const TCommand& command)
{
    std::vector<TForm> forms;
    for (const std::string& line : lab::Split(command.usage, '\n'))
        forms.push_back(ReadForm(line));
    return forms;
}

std::vector<TOption> OptionsOf(const TCommand& command)
{
    std::vector<TOption> options;
    for (const TForm& form : FormsOf(command))
        options.insert(options.end(), form.options.begin(), form.options.end());
    options.push_back({"help", ""});
    options.push_back({"json", ""});
    return options;
}

std::string UsageOf(const TCommand& command, const std::string& between)
{
    std::string text;
    for (const std::string& form : lab::Split(command.usage, '\n'))
        text += (text.empty() ? "" : between) + "labctl " + command.name + (form.empty() ? "" : " ") + form;
    return text;
}

// Suggestions

std::size_t EditDistance(const std::string& left, const std::string& right)
{
    // Of each row of the table of all beginnings, against all beginnings of `right`.
    std::vector<std::vector<std::size_t>> rows(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i) {
        for (std::size_t k = 0; k <= right.size(); ++k) {
            if (i == 0 || k == 0) {
                rows[i][k] = i + k;
                continue;
            }
            const std::size_t changed = rows[i - 1][k - 1] + (left[i - 1] == right[k - 1] ? 0 : 1);
            rows[i][k] = std::min({changed, rows[i - 1][k] + 1, rows[i][k - 1] + 1});
            if (i > 1 && k > 1 && left[i - 1] == right[k - 2] && left[i - 2] == right[k - 1])
                rows[i][k] = std::min(rows[i][k], rows[i - 2][k - 2] + 1);
        }
    }
    return rows[left.size()][right.size()];
}

std::string Suggestion(const std::string& word, const TWords& known)
{
    std::string nearest;
    // Of three letters one may be wrong; otherwise any short word would be near every other.
    std::size_t best = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        const std::size_t distance = EditDistance(word, candidate);
        if (distance < best && distance < candidate.size()) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest.empty() ? "" : " (did you mean " + nearest + "?)";
}

// Help

TAnswer HelpForAll()
{
    std::string text = std::string("usage: ") + kUsage +
                       "\n\nShows and changes a simulated Mac. Inside the sandbox the machine is /machine; outside,\n"
                       "--machine or the variable HALVORIX_MACHINE names its folder.\n\n";
    TValue list = TValue::Array();
    for (const TCommand& command : Commands()) {
        const std::string name = command.name;
        text += "  " + name + std::string(name.size() < 11 ? 11 - name.size() : 1, ' ') + command.summary + "\n";
        list.items.push_back(HelpFor(command).value);
    }
    text += "\nlabctl help SUBCOMMAND says more. With --json, what is printed is one JSON value, errors included.\n"
            "Exit status: 0 it was done, 1 it could not be done, 2 labctl was called wrongly.\n";
    return {text, list};
}

TAnswer HelpFor(const TCommand& command)
{
    TWords options;
    for (const TOption& option : OptionsOf(command))
        options.push_back("--" + option.name);
    const std::string details = command.details;
    const std::string text = std::string(command.summary) + (details.empty() ? "" : "\n" + details);
    return {"usage: " + UsageOf(command, "\n       ") + "\n\n" + text + "\n",
            lab::MakeObject({{"name", TValue::String(command.name)},
                             {"usage", lab::MakeTexts(lab::Split(UsageOf(command, "\n"), '\n'))},
                             {"options", lab::MakeTexts(options)},
                             {"help", TValue::String(text)}})};
}

}   // namespace labctl
