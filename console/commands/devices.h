// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "operating/operations.h"

/// @file
/// What the commands of a noun have in common: the argument that names one resource, and a change
/// of it.

namespace console {

/// An argument that names a resource.
template <const auto& kind>
struct Named {
    std::string wanted;

    void define(CLI::App& app, const std::string& name = "ID") {
        const char* const names =
            kind.name == nullptr ? ": its number" : ": its number or its label";
        addText(app, name, wanted, std::string("The ") + kind.one + names,
                name[0] == '-' ? "ID" : "TEXT")
            ->required();
    }

    /// @throws paclient::LookupError
    auto find(const Context& context) const {
        context.connected();
        return findOne(kind, wanted);
    }
};

/// A command that needs nothing but the resource.
template <const auto& kind, auto act>
struct OfNamed : Named<kind> {
    void run(const Context& context) const { act(context, this->find(context)); }
};

/// "source 3"
template <class Record>
std::string titleOf(const paclient::Resource<Record>& kind, const Record& record) {
    return kind.one + (' ' + kind.number(record));
}

/// Runs a confirmed operation on a resource that the server keeps, and prints the resource then.
/// @param effect as in " is monitored"
/// @param kept   what ends with the server, as in "the gain"
template <class Record, class Operation>
void change(const Context& context, const paclient::Resource<Record>& kind, const Record& record,
            const std::string& effect, const std::string& kept, Operation operation) {
    const std::string sentence = titleOf(kind, record) + effect;
    const std::string asBefore = operate(context, sentence, operation);
    printOutcome(context, sentence + asBefore,
                 paclient::toJson(findOne(kind, std::to_string(record.id))));
    warnUnlessKept(context, kept);
}

/// What the gain of a device may be, and its flags.
struct GainRules {
    Real limits;
    const char* help;
    struct {
        const char* name;
        const char* help;
    } flags[2];
};

template <const auto& kind, const GainRules& rules>
struct SetGain : Named<kind> {
    double level = 0;
    bool flags[2] = {};

    void define(CLI::App& app) {
        Named<kind>::define(app);
        addNumber(app, "LEVEL", level, rules.limits, rules.help)->required();
        for (int i = 0; i < 2; ++i) {
            app.add_flag(rules.flags[i].name, flags[i], rules.flags[i].help);
        }
    }

    void run(const Context& context) const {
        const auto device = this->find(context);
        const std::string text = paclient::valueText(level + 0.0);  // a zero has no sign
        change(context, kind, device, " has the gain " + text + " dB", "the gain",
               [&](const paclient::Wait& wait) {
                   return setGain(device, level, flags[0], flags[1], wait);
               });
    }
};

}  // namespace console
