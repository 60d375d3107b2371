// CXDTSchema: the small schema an XML file of this program carries in the
// internal part of its document type, one declaration a line:
//
//   <!DOCTYPE meta [
//   name sound file metadata
//   root meta
//   element meta
//   child segment 0 *
//   attribute version integer 1 * yes
//   close
//   element segment base
//   attribute kind valuelist word pause noise no
//   close
//   element base
//   attribute ID string 1 64 all
//   attribute start number 0 * no
//   close
//   ]>
//
// `element` names an element and up to five elements whose children and
// attributes it takes over ("*" leaves a place free); `child` gives a child's
// name with its least and most count ("*": no limit); `attribute` a name, a
// type (`integer` and `number` with two bounds, "*" open; `string` with least
// and most length; `valuelist` with its words) and "no" (optional), "yes"
// (required) or "all" (required here and in every element that takes this one
// over). Lines with other first words are passed over.
#pragma once

#include <vector>

#include "base/text.h"

class CXMLDoc;

enum EXDTType : int { XDT_INTEGER = 0, XDT_NUMBER = 1, XDT_STRING = 2, XDT_VALUELIST = 3 };

struct SXDTChild {
    Text name;
    int least = 0;
    int most = -1; // no limit
};

struct SXDTAttribute {
    Text name;
    int type = XDT_STRING;
    double low = 0, high = 0;
    bool lowOpen = true, highOpen = true;
    std::vector<Text> values;
    int use = 0; // 0 "no", 1 "yes", 2 "all"
};

struct SXDTElement {
    Text name;
    Text refs[5];
    std::vector<SXDTChild> children;
    std::vector<SXDTAttribute> attributes;
};

// What VALIDATE looks at.
enum : int {
    XDT_CHECK_ROOT = 1,
    XDT_CHECK_CHILDREN = 2,
    XDT_CHECK_ATTRIBUTES = 4,
    XDT_CHECK_PARTIAL = 8, // the element alone, not its descendants
    XDT_IGNORE_UNKNOWN = 16,
};

class CXDTSchema {
public:
    // Reads the document type text (from "<!DOCTYPE" to its ">"). False when there is
    // no internal part; `message` tells a bad line.
    bool Parse(TextView doctype, Text& message);
    bool Empty() const { return m_elements.empty() && m_root.empty(); }

    const Text& Name() const { return m_name; }
    const Text& RootName() const { return m_root; }
    const std::vector<SXDTElement>& Elements() const { return m_elements; }
    const SXDTElement* Find(TextView name) const;
    // True when `name` is `base` or takes it over, directly or further down.
    bool IsA(TextView name, TextView base) const;
    // Children and attributes with those taken over from referenced elements;
    // an attribute's use "all" of a referenced element stays required.
    std::vector<SXDTChild> AllChildren(TextView name) const;
    std::vector<SXDTAttribute> AllAttributes(TextView name) const;

    static Text ElementForm(const SXDTElement& element);
    static Text ChildForm(const SXDTChild& child);
    static Text AttributeForm(const SXDTAttribute& attribute);

    // Checks `element` of `doc` (and its descendants) by `checks`; the first
    // offence goes to `message`.
    bool Validate(const CXMLDoc& doc, int element, int checks, Text& message) const;

private:
    bool ValidateElement(const CXMLDoc& doc, int element, int checks, Text& message) const;
    void Collect(TextView name, std::vector<const SXDTElement*>& chain) const;
    static Text JoinFrom(const std::vector<Text>& words, size_t first);

    Text m_name;
    Text m_root;
    std::vector<SXDTElement> m_elements;
};
