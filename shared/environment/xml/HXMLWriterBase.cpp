// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/xml/HXMLWriterBase.h"

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/errors/HXMLException.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "environment/xml/optGroupFormat.h"

namespace {

/// Calls `visit` with the database id and spec of each option of `group` that
/// is found by its database id.
template <class Visit> void forEachOption(const HATOptGroup& group, Visit visit) {
    const HATOptGroupSpec& options = *group.getOptionsSpec();
    for (const std::unique_ptr<HATAttrSpec>& spec : options.getAttrSpecs()) {
        const std::string& dbId = options.getDbId(spec.get());
        if (group.getAttrSpecForDbId(dbId) == spec.get())
            visit(dbId, *spec);
    }
}

/// A list as one attribute: an item a line.
std::string joinItems(const HSTSList<std::string>& items) {
    std::string text;
    for (const std::string& item : items)
        text.append(text.empty() ? "" : "\n").append(item);
    return text;
}

void addAttributes(HXMLWriterBase& writer, const HATOptGroup& attrs) {
    forEachOption(attrs, [&](const std::string& dbId, const HATAttrSpec& spec) {
        if (!xml::isList(spec))
            writer.addAttr(dbId, xml::valueToText(attrs, spec));
        else if (!attrs.getStrListVal(&spec).empty())
            writer.addAttr(dbId, joinItems(attrs.getStrListVal(&spec)));
    });
}

void writeList(HXMLWriterBase& writer, const HSTSList<std::string>& items) {
    writer.wrStartTag(xml::kOptionElem);
    for (const std::string& item : items) {
        writer.addAttr(xml::kValueAttr, item);
        writer.wrEmptyTag(xml::kItemElem);
    }
    writer.wrEndTag(xml::kOptionElem);
}

void writeOptions(HXMLWriterBase& writer, const HATOptGroup& group, bool writeAll) {
    forEachOption(group, [&](const std::string& dbId, const HATAttrSpec& spec) {
        if (!writeAll && !spec.isAlwaysWrite() && group.isDefault(&spec))
            return;
        writer.addAttr(xml::kIdAttr, dbId);
        if (xml::isList(spec)) {
            writeList(writer, group.getStrListVal(&spec));
            return;
        }
        writer.addAttr(xml::kValueAttr, xml::valueToText(group, spec));
        writer.wrEmptyTag(xml::kOptionElem);
    });
}

}  // namespace

HXMLWriterBase::HXMLWriterBase(const std::string& path) : CXMLWriter(path) {}

HXMLWriterBase::~HXMLWriterBase() = default;

void HXMLWriterBase::wrOptGroup(const std::string& tag, const HATOptGroup* group, bool writeAll,
                                const HATOptGroup* attrs) {
    const HATOptGroup* const named = group != nullptr ? group : attrs;
    if (named != nullptr)
        addAttr(xml::kIdAttr, named->getOptGrpId());
    if (attrs != nullptr)
        addAttributes(*this, *attrs);
    wrStartTag(tag);
    if (group != nullptr)
        writeOptions(*this, *group, writeAll);
    wrEndTag(tag);
}

void HXMLWriterBase::closeDoc() {
    save_(false);
}

bool HXMLWriterBase::closeNewDoc() {
    return save_(true);
}

bool HXMLWriterBase::save_(bool asNew) {
    if (m_saved)
        return true;
    if (m_document.empty())
        m_document = finish_();
    try {
        if (!asNew)
            HUTFileUtils::replaceFile(getDocumentName(), m_document);
        else if (!HUTFileUtils::createFile(getDocumentName(), m_document))
            return false;
    } catch (const HEXUserException& error) {
        throw HXMLException(error.what());
    }
    m_saved = true;
    return true;
}
