// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "environment/xml/CAttributeList.h"
#include "environment/xml/CDocumentHandler.h"
#include "environment/xml/CErrorHandler.h"

class HATOptGroup;

/// Reads an XML file and hands its events to the handlers of a derived class.
///
/// The file is read once and parsed from memory. Only a regular file of at most
/// 16 MB is read, in UTF-8, UTF-16, ISO-8859-1 or ASCII. A document with a
/// DOCTYPE is refused, as is one deeper than 64 elements, with an attribute of
/// more than 1 MB, or with more elements than its memory would be worth.
/// Nothing else is opened and nothing fetched.
///
/// A parser serves one file at a time and belongs to one thread.
class ENVIRONMENT_API HXMLParserBase : public CSL::XML::CDocumentHandler,
                                       public CSL::XML::CErrorHandler {
public:
    ~HXMLParserBase() override;

    HXMLParserBase(const HXMLParserBase&) = delete;
    HXMLParserBase& operator=(const HXMLParserBase&) = delete;

    /// Reads the file `path`. True when it was read to its end.
    ///
    /// A bool thrown by a handler ends the document and is the result. Whatever
    /// else a handler throws passes to the caller. A document that can't be
    /// read, or is refused by validateVersion_(), goes to readError_() and gives
    /// false when `sendErrors` is true.
    /// @throws HXMLReadException the same when `sendErrors` is false.
    bool parse(const std::string& path, bool sendErrors);

    /// The path given to parse(), while it runs and afterwards.
    const std::string& getFileName() const;

    /// The line of the current event, from 1: for an element the one on which
    /// its tag begins. After parse() that of the last event.
    int getLine() const;

    /// The root's "Version" and "Minor"; 0 before the root was seen, and where
    /// it has no such number.
    int getFileMajor() const;
    int getFileMinor() const;

    /// Whether something of the file was dropped: an option that its group
    /// doesn't know or whose value it can't hold, or an element that nobody took.
    /// Saving what was read would lose it.
    bool hasDropped() const;

    /// Makes parse() ask validateVersion_() when the root begins.
    void setVersionCheck(const std::string& rootElement, int major, int minor);

    /// From now on the children of the current element are options of `group`,
    /// as HXMLWriterBase::wrOptGroup() writes them, until doneOptGroup() or the
    /// end of the element. `attributes` are those of the element; those that
    /// came from an attributes group are the caller's to read. With a null
    /// group the children are passed over.
    ///
    /// An option keeps its value when the file doesn't have it. One that the
    /// group doesn't know, or with a value that it can't hold, is dropped with a
    /// message. Other elements are passed over. Observers are told of each
    /// change.
    void reOptGroup(const CSL::XML::CAttributeList& attributes, HATOptGroup* group);

    /// Ends the reading of a group; does nothing without one.
    void doneOptGroup();

protected:
    HXMLParserBase();

    /// Hook, called before startElem_() of the root when a version check is
    /// set. Refuses another root element, a root without a number as
    /// "Version", and another major version than expected; a later minor version
    /// is read with the message "@12-60@%s%s%s". An override may take more.
    /// @throws HXMLReadException the file is refused.
    virtual void validateVersion_();

    /// Reads the options of a group while one is being read, and notes any other
    /// element as dropped. An override calls it for every element that it
    /// doesn't know itself.
    void startElem_(const std::string& name, const CSL::XML::CAttributeList& attributes) override;

    /// The name of the root element, while and after parse() read it.
    const std::string& getRootElement() const;

    /// Makes hasDropped() true. For handlers that drop something.
    void noteDropped_();

    /// @throws HXMLReadException always, with the file, the current line and
    /// `reason`. For handlers.
    [[noreturn]] void refuse_(const std::string& reason) const;

private:
    struct Data;
    class Events;

    void read_();

    std::unique_ptr<Data> m_data;
};
