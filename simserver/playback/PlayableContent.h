// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "simserver/SimTime.h"
#include "simserver/audio/UploadFolder.h"
#include "simserver/protocol/Request.h"
#include "simserver/station/Station.h"

namespace simserver {

/// What a station can play, and how long that lasts. Does not change; reads the upload folder.
class PlayableContent {
public:
    /// Both must outlive the object.
    PlayableContent(const Station& station, const UploadFolder& uploads);

    /// @throws Refused for a zone, dictionary item, chime or voice that the station does not have
    void check(const RequestPart& part) const;

    bool hasZone(const std::string& zone) const { return zones_.count(zone) > 0; }

    /// @throws Refused for a zone that the station does not have
    void checkZone(const std::string& zone) const;

    /// The number of a chime that is named by its number or its text; 0 for an empty name.
    /// @throws Refused for one that the station does not have
    int chimeNamed(const std::string& name) const;

    /// How long a part of a request lasts if it begins now; nothing when it has no end of its own.
    /// @throws Refused when it cannot be played after all
    std::optional<SimTime> lengthOf(const RequestPart& part) const;

    /// What can be played by its path: the station's recordings, then the files of the upload
    /// folder in order of their names.
    std::vector<Recording> recordings() const;

private:
    using Length = std::optional<SimTime>;

    void check(const DictionaryContent& content) const;
    void check(const SpokenContent& content) const;
    template <class Content>
    void check(const Content& /*unused*/) const {}

    Length lengthOf(const RecordedContent& content) const;
    Length lengthOf(const DictionaryContent& content) const;
    Length lengthOf(const TextContent& content) const;
    Length lengthOf(const SpokenContent& content) const;
    Length lengthOf(const TemplateContent& content) const;
    Length lengthOf(const LiveContent& content) const;
    SimTime lengthOfChime(int number) const;

    const Station& station_;
    const UploadFolder& uploads_;
    std::set<std::string> zones_;
    std::map<unsigned, const DictionaryItem*> items_;
};

}  // namespace simserver
