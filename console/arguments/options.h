// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "operating/PlayRequest.h"
#include "operating/options.h"

namespace console {

using paoperating::addNumber;
using paoperating::addParsed;
using paoperating::addPath;
using paoperating::addSwitch;
using paoperating::addText;
using paoperating::addTextList;
using paoperating::addTexts;
using paoperating::addWhole;
using paoperating::anyWhole;
using paoperating::greatestWhole;
using paoperating::oneOf;
using paoperating::parseNumber;
using paoperating::Real;
using paoperating::Whole;

/// Adds the options of an audio part.
/// @param fileHelp, fileType of the file: where it is differs
void addAudioOptions(CLI::App& app, paoperating::AudioRequest& audio, const std::string& fileHelp,
                     const std::string& fileType);

}  // namespace console
