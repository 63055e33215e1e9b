// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <string>

#include <boost/uuid/uuid.hpp>

#include "runs/base/xperiment/RunsExport.h"

/// A kind of file of a run, known by a universal id: the open form beside
/// HAXPTypes::FileType.
///
/// The id is kept as given and compared ignoring case. Sets order file types by
/// the hash of the id, and take two with one hash for the same.
class RUNS_API HAXPFileType {
public:
    /// The nil UUID, no universal id and no name.
    HAXPFileType();

    /// `universalId` is the text of a UUID, in any form that HAXPFlowType takes;
    /// empty means the nil UUID.
    /// @throws std::runtime_error "invalid uuid string": `universalId` isn't one.
    HAXPFileType(const std::string& universalId, const std::string& name);

    /// A file type unlike any other: its UUID is drawn at random, and the universal
    /// id is the UUID's text in lower case.
    explicit HAXPFileType(const std::string& name);

    HAXPFileType(const HAXPFileType&) = default;
    HAXPFileType& operator=(const HAXPFileType&) = default;
    ~HAXPFileType();

    const boost::uuids::uuid& getUuid() const { return m_uuid; }
    const std::string& getUniversalId() const { return m_universalId; }
    const std::string& getName() const { return m_name; }

    /// The hash of the universal id, the same for both cases. Different ids can
    /// share one.
    std::uint32_t getHash() const;

    /// Whether the universal ids are equal, ignoring case.
    bool operator==(const HAXPFileType& other) const;
    bool operator!=(const HAXPFileType& other) const { return !(*this == other); }

    /// These order by hash, not by text.
    bool operator<(const HAXPFileType& other) const;
    bool operator>(const HAXPFileType& other) const;

private:
    boost::uuids::uuid m_uuid;
    std::string m_universalId;
    std::string m_name;
};
