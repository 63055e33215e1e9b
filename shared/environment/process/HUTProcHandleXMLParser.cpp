// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/HUTProcHandleXMLParser.h"

#include "environment/files/HUTFileUtils.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/handleReader.h"

bool HUTProcHandleXMLParser::parsePH(const std::string& path, HUTProcessHandle* handle) {
    constexpr std::size_t kMostBytes = 65536;
    handle->countParseAttempt();
    std::string content;
    HUTProcessHandle record;
    if (!HUTFileUtils::readFile(path, kMostBytes, content) || !process::readHandle(content, record))
        return false;
    std::string folder = path;
    HUTFileUtils::makeAbsolutePath(folder);
    record.setFolder(folder.substr(0, folder.rfind('/')));
    handle->takeRecord(record);
    return handle->isComplete();
}
