#pragma once

#include <cstdlib>

#include "tests/simserver/TestFolder.h"

/// The program that speaks is a script while such an object is there. It has one voice.
class FakeSynthesizer {
public:
    explicit FakeSynthesizer(const std::string& script) {
        const std::string program = folder.file(
            "espeak-ng",
            "#!/bin/sh\ncase $1 in --voices*) printf 'File\\n5 en - E gmw/en\\n'; exit;; esac\n" +
                script + "\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        setenv("PATH", folder.path.c_str(), 1);
    }
    FakeSynthesizer(const FakeSynthesizer&) = delete;
    FakeSynthesizer& operator=(const FakeSynthesizer&) = delete;
    ~FakeSynthesizer() { setenv("PATH", path.c_str(), 1); }

    const std::string path = std::getenv("PATH");
    const TestFolder folder{"fake"};
};

/// A script that writes the header of a WAV file of 8000 Hz and then its input.
inline const std::string echoes =
    R"(printf 'RIFF\0\360\377\177WAVEfmt \20\0\0\0\1\0\1\0\100\37\0\0\200\76\0\0\2\0\20\0data\0\0\0\0')"
    "\nexec /bin/cat";
