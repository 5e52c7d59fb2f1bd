#include "signature.h"

#include "catalogue.h"
#include "sha256.h"

namespace emulator {

namespace {

constexpr char SIGNATURES[] = "http://www.w3.org/2000/09/xmldsig#";
constexpr char ENVELOPED[] = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";
constexpr char CANONICAL[] = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
constexpr char RSA_SHA256[] = "http://www.w3.org/2001/04/xmldsig-more#rsa-sha256";
constexpr char SHA256[] = "http://www.w3.org/2001/04/xmlenc#sha256";

void AppendAlgorithm(Element* parent, const char* name, const char* algorithm) {
    SetAttribute(Append(parent, name), "Algorithm", algorithm);
}

void AppendSignedInfo(Element* signature, const std::string& id, const std::string& digest) {
    Element* signed_info = Append(signature, "SignedInfo");
    AppendAlgorithm(signed_info, "CanonicalizationMethod", CANONICAL);
    AppendAlgorithm(signed_info, "SignatureMethod", RSA_SHA256);
    Element* reference = Append(signed_info, "Reference");
    SetAttribute(reference, "URI", "#" + id);
    Element* transforms = Append(reference, "Transforms");
    AppendAlgorithm(transforms, "Transform", ENVELOPED);
    AppendAlgorithm(transforms, "Transform", CANONICAL);
    AppendAlgorithm(reference, "DigestMethod", SHA256);
    Append(reference, "DigestValue", digest);
}

}  // namespace

void AppendSignature(Element* information, const SignatureTexts& texts) {
    Element* root = Parent(information);
    RemoveChildren(root, "Signature");
    const std::string digest = ToBase64(Sha256(CanonicalText(information)));
    Element* signature = AppendIn(root, "Signature", SIGNATURES);
    AppendSignedInfo(signature, AttributeText(information, "Id"), digest);
    Append(signature, "SignatureValue", texts.value);
    Element* data = Append(Append(signature, "KeyInfo"), "X509Data");
    Append(data, "X509Certificate", texts.certificate);
}

}  // namespace emulator
