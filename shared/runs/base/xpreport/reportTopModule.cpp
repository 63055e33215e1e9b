// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <memory>
#include <string>
#include <vector>

#include "environment/containers/HSTFwdIter.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/filemgmt/HDDASrcFileType.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/filemgmt/HDDASrcOptions.h"
#include "environment/filemgmt/HEIOptions.h"
#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xpreport/reportConfigUtil.h"

using SrcFileIter = std::unique_ptr<HSTFwdIter<HDDASrcFile*>>;

namespace {

/// The kinds of sources that a design is made of.
constexpr HDDATypes::SFTId kDesignSources[] = {
    HDDATypes::SFT_CHECKPOINT,     HDDATypes::SFT_VERILOG,        HDDATypes::SFT_VHDL,
    HDDATypes::SFT_SYSTEM_VERILOG, HDDATypes::SFT_VHDL_2008,      HDDATypes::SFT_VERILOG_TEMPLATE,
    HDDATypes::SFT_EDIF,           HDDATypes::SFT_BINARY_NETLIST, HDDATypes::SFT_JSON_NETLIST,
    HDDATypes::SFT_SCHEMATIC,      HDDATypes::SFT_CORE,           HDDATypes::SFT_BLOCK_DESIGN,
};

bool isNetlist(HDDATypes::SFTId id) {
    return id == HDDATypes::SFT_EDIF || id == HDDATypes::SFT_BINARY_NETLIST ||
           id == HDDATypes::SFT_JSON_NETLIST;
}

std::string firstName(const SrcFileIter& files) {
    return files->hasNext() ? files->next()->getName() : std::string();
}

std::string checkpointInside(const HDDACompositeFile& block) {
    HDDASrcFilter checkpoints;
    checkpoints.addSFType(HDDATypes::SFT_CHECKPOINT);
    checkpoints.setExamineCompositeSrcs(true);
    return firstName(SrcFileIter(block.createSrcFileIter(&checkpoints, true)));
}

/// The checkpoint that is the only design source of the set; empty without one.
std::string onlyCheckpoint(const HADAFileSet& fileSet) {
    HDDASrcFilter checkpoints;
    checkpoints.addSFType(HDDATypes::SFT_CHECKPOINT);
    HDDASrcFilter designSources;
    for (const HDDATypes::SFTId id : kDesignSources)
        designSources.addSFType(id);
    if (fileSet.srcFileCount(&designSources) != 1 || fileSet.srcFileCount(&checkpoints) != 1)
        return {};
    return firstName(SrcFileIter(fileSet.createSrcFileIter(&checkpoints)));
}

std::string baseName(const std::string& path) {
    std::string name;
    HUTFile(path).getBaseName(name);
    return name;
}

}  // namespace

namespace reportConfigUtil {

void getTopModuleName(const HAXPExpRunBase* run, std::string& name) {
    name.clear();
    const HAXPExpInfoBase* const info = run == nullptr ? nullptr : run->getExpInfoBase();
    const HADAFileSet* const sources = info == nullptr ? nullptr : info->getSrcSet();
    if (sources == nullptr)
        return;
    name = sources->getSrcOptions().getTopName();
    std::string path;
    if (name.empty() && (getEDIFTopFile(sources, path) || getTopDcpFile(sources, path)))
        name = baseName(path);
}

bool getTopDcpFile(const HADAFileSet* fileSet, std::string& path) {
    path.clear();
    if (fileSet == nullptr)
        return false;
    const HDDACompositeFile* const root = fileSet->getOOCRootCompositeFile(true);
    path = root == nullptr ? onlyCheckpoint(*fileSet) : checkpointInside(*root);
    return !path.empty();
}

bool getEDIFTopFile(const HADAFileSet* fileSet, std::string& path) {
    if (fileSet == nullptr)
        return false;
    if (!fileSet->getEDIFOptions().getTopFile().empty()) {
        path = fileSet->getEDIFOptions().getTopFile();
        return true;
    }
    std::vector<const HDDASrcFile*> netlists;
    const SrcFileIter files(fileSet->createSrcFileIter());
    while (files->hasNext()) {
        const HDDASrcFile* const file = files->next();
        const HDDATypes::SFTId kind = file->getFileType()->getId();
        if (kind == HDDATypes::SFT_VERILOG)
            return false;
        if (isNetlist(kind))
            netlists.push_back(file);
    }
    if (netlists.size() != 1)
        return false;
    path = netlists.front()->getName();
    return true;
}

}  // namespace reportConfigUtil
