// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

namespace shell {

/// Sends what anybody writes to standard output to standard error for as long as it lives,
/// so that standard output holds the answer of a command and nothing else.
class DataOutput {
public:
    explicit DataOutput(bool isNeeded);
    ~DataOutput();

    DataOutput(const DataOutput&) = delete;
    DataOutput& operator=(const DataOutput&) = delete;

private:
    int m_output = -1;
};

}  // namespace shell
