#include "signature.h"

#include "catalogue.h"
#include "sha256.h"
#include "xml_text.h"

namespace emulator {

namespace {

constexpr char SIGNATURES[] = "http://www.w3.org/2000/09/xmldsig#";
constexpr char ENVELOPED[] = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";
constexpr char CANONICAL[] = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
constexpr char RSA_SHA256[] = "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256";
constexpr char SHA256[] = "http://www.w3.org/2001/04/xmlenc#sha256";

void AppendAlgorithm(Xml& xml, Element* parent, const char* name, const char* algorithm) {
    SetAttribute(xml, Append(xml, parent, name), "Algorithm", algorithm);
}

// The name spaces of the document belong to the canonical form of each of its parts, so the signed part tells
// them itself: then the digest is one over the very text that stands in the document.
void InheritNamespaces(Xml& xml, const Element* root, Element* information) {
    for (const auto* space = root->first_attribute(); space != nullptr; space = space->next_attribute()) {
        const std::string name(space->name(), space->name_size());
        if (name != "xmlns" && !name.starts_with("xmlns:")) continue;
        if (information->first_attribute(name.c_str()) != nullptr || space->value_size() == 0) continue;
        SetAttribute(xml, information, xml.tree.allocate_string(name.c_str(), name.size() + 1),
                     {space->value(), space->value_size()});
    }
}

void AppendSignedInfo(Xml& xml, Element* signature, const std::string& id, const std::string& digest) {
    Element* signed_info = Append(xml, signature, "SignedInfo");
    AppendAlgorithm(xml, signed_info, "CanonicalizationMethod", CANONICAL);
    AppendAlgorithm(xml, signed_info, "SignatureMethod", RSA_SHA256);
    Element* reference = Append(xml, signed_info, "Reference");
    SetAttribute(xml, reference, "URI", "#" + id);
    Element* transforms = Append(xml, reference, "Transforms");
    AppendAlgorithm(xml, transforms, "Transform", ENVELOPED);
    AppendAlgorithm(xml, transforms, "Transform", CANONICAL);
    AppendAlgorithm(xml, reference, "DigestMethod", SHA256);
    Append(xml, reference, "DigestValue", digest);
}

}  // namespace

void AppendSignature(Xml& xml, Element* information, const SignatureTexts& texts) {
    Element* root = information->parent();
    RemoveChildren(root, "Signature");
    InheritNamespaces(xml, root, information);
    const std::string digest = ToBase64(Sha256(CanonicalText(information)));
    Element* signature = Append(xml, root, "Signature");
    SetAttribute(xml, signature, "xmlns", SIGNATURES);
    AppendSignedInfo(xml, signature, AttributeText(information, "Id"), digest);
    Append(xml, signature, "SignatureValue", texts.value);
    Element* data = Append(xml, Append(xml, signature, "KeyInfo"), "X509Data");
    Append(xml, data, "X509Certificate", texts.certificate);
}

}  // namespace emulator
