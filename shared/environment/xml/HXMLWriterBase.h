// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/xml/CXMLWriter.h"

class HATOptGroup;

/// Writes an XML file, whole or not at all: the document is made in memory,
/// and closeDoc() saves it. A writer that goes without closeDoc() leaves the
/// file as it was.
///
/// An option group is one element:
///
///     <Step Id="place_design" EnableStepBool="1" PreStepTclHook="">
///       <Option Id="Seed" Value="7"/>
///       <Option Id="PINS">
///         <Item Value="a b"/>
///         <Item Value="c"/>
///       </Option>
///     </Step>
///
/// The attributes behind "Id" are the options of the attributes group by their
/// database ids, the children those of the options group. A bool is 1 or 0, a
/// number decimal, an enum the id of its range, a string list has an "Item" for
/// each element; other kinds are their text.
class ENVIRONMENT_API HXMLWriterBase : public CSL::XML::CXMLWriter {
public:
    /// Opens a document that closeDoc() saves as `path`. Touches no file.
    explicit HXMLWriterBase(const std::string& path);
    ~HXMLWriterBase() override;

    /// Writes `group` as an element `tag`, behind the attributes held so far.
    /// `writeAll` takes every option; without it only those come whose value
    /// differs from the plain default, and those that are always written. The
    /// options of `attrs` come all, but for an empty string list. Of options
    /// with one database id the first comes. Either group may be null; "Id" is
    /// the id of `group`, or of `attrs` without one.
    /// @throws HXMLException a value that XML can't hold, or a database id in
    /// `attrs` that is no attribute name.
    void wrOptGroup(const std::string& tag, const HATOptGroup* group, bool writeAll,
                    const HATOptGroup* attrs);

    /// Ends the document and saves it in the place of the old file. The file is
    /// the whole old or the whole new one, whatever happens. Once it is saved,
    /// another call does nothing.
    /// @throws HXMLException the file can't be saved; the old one is intact, and
    /// another call tries again.
    void closeDoc();

    /// The same for a name that must be new: false, with nothing saved, when
    /// anything of that name is there. Of several processes that save one name at
    /// a time exactly one gets true.
    bool closeNewDoc();

private:
    bool save_(bool asNew);

    /// The whole document, once it is ended.
    std::string m_document;
    bool m_saved = false;
};
