// XML files come from anywhere: any bytes load into a document or are refused
// with a message, and whatever loads keeps its records true to its text through
// a walk of the whole tree and a few edits. An untouched UTF-8 document saves
// back byte for byte.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "items/text_codec.h"
#include "items/xml_doc.h"

namespace {

void Check(bool condition) {
    if (!condition) std::abort();
}

void CheckRecords(const CXMLDoc& doc) {
    const Text& text = doc.GetText();
    for (int r = 1; r < doc.RecordCount(); ++r) {
        if (!doc.IsLive(r)) continue;
        const SXMLElement& e = doc.Record(r);
        Check(e.tagStart >= 0 && e.tagStart <= e.tagEnd && e.closeStart <= e.closeEnd);
        Check(static_cast<size_t>(e.closeEnd) < text.size());
        Check(text[e.tagStart] == L'<' && text[e.tagEnd] == L'>' && text[e.closeEnd] == L'>');
        for (int c = e.firstChild; c; c = doc.Record(c).nextSibling) {
            Check(doc.Record(c).parent == r);
            Check(doc.Record(c).tagStart > e.tagEnd && doc.Record(c).closeEnd < e.closeStart);
        }
    }
}

void Walk(CXMLDoc& doc, int depth) {
    while (doc.NextNode()) {
        doc.NodeName();
        doc.NodeText();
        if (doc.Current()) {
            Text value;
            doc.GetData(value);
            for (const Text& name : doc.AttributeNames()) doc.GetAttribute(name, value);
            if (depth < 64 && doc.Enter()) {
                Walk(doc, depth + 1);
                doc.Leave();
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CXMLDoc doc;
    if (!doc.LoadBytes(data, size)) {
        Check(!doc.LastMessage().empty());
        return 0;
    }
    CheckRecords(doc);
    const std::string original(reinterpret_cast<const char*>(data), size);
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    if (original.compare(0, declaration.size(), declaration) == 0 &&
        EncodeUtf8(FromUtf8(original)) == original) {
        std::string saved;
        doc.SaveBytes(saved);
        Check(saved == original);
    }
    doc.GoStart();
    Walk(doc, 0);
    doc.GoElement(doc.Root());
    doc.SetAttribute(L"fz", L"<&\"'>");
    Text value;
    const Text data_ = L"d]]>";
    Check(doc.AddElement(L"kid", &data_, XML_LAST_CHILD));
    Check(doc.GetData(value) && value == data_);
    CheckRecords(doc);
    doc.GoElement(doc.Record(doc.Root()).firstChild);
    doc.RemoveElement();
    CheckRecords(doc);
    CXMLDoc again;
    Check(again.Parse(doc.GetText()));
    return 0;
}
