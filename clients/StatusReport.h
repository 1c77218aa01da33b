// How halvorixstatus tells what it sees and found: as a tree for people, or as one JSON object for programs.

#ifndef HALVORIX_CLIENTS_STATUSREPORT_H
#define HALVORIX_CLIENTS_STATUSREPORT_H

#include "clients/MachineStatus.h"
#include "clients/StatusFindings.h"

#include <string>
#include <vector>

// The text in quotes as JSON has it; control characters are written as \u001B and the like.
//
// text  UTF-8
std::string QuotedText(const std::string& text);

// What was seen, indented by what belongs to what; then each finding with what to do about it; then one line with the
// verdict. Each line ends with a line feed. A control character in the name of a volume shows as "?": it changes no terminal.
std::string StatusAsTree(const TMachineStatus& machine, const std::vector<TFinding>& findings);

// The same as one line. docs/status.md lists the fields.
std::string StatusAsJSON(const TMachineStatus& machine, const std::vector<TFinding>& findings);

#endif
