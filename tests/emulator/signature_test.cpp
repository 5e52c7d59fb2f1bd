#include "signature.h"

#include <gtest/gtest.h>

#include "catalogue.h"
#include "receipt_fixture.h"
#include "sha256.h"

namespace emulator {

namespace {

std::string Hex(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        constexpr std::string_view digits = "0123456789abcdef";
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 0xF];
    }
    return text;
}

// The element "infCFe" as it stands in the text.
std::string Signed(const std::string& xml) {
    return "<infCFe " + Between(xml, "<infCFe ", "</infCFe>") + "</infCFe>";
}

}  // namespace

TEST(Sha256, KnownDigests) {
    EXPECT_EQ(Hex(Sha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(Hex(Sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(Hex(Sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(Hex(Sha256(std::string(1000000, 'a'))),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Signature, ItsDigestIsOneOfTheSignedElement) {
    const Receipt receipt = ReceiptOf(DEMO_SALE);
    EXPECT_EQ(TextOf(receipt.xml, "DigestValue"), ToBase64(Sha256(Signed(receipt.xml))));
}

// The canonical form of a part tells the namespaces that are in force there, wherever they are declared.
TEST(Signature, NamespacesOfTheRootBelongToTheSignedElement) {
    const Receipt receipt = ReceiptOf(
        Replaced(SaleText(ItemText(1, "1.00")), "<CFe>", "<CFe xmlns=\"urn:a\" xmlns:b=\"urn:b\">"));
    EXPECT_NE(receipt.xml.find("<CFe xmlns=\"urn:a\" xmlns:b=\"urn:b\"><infCFe Id="), std::string::npos);
    const std::string part =
        Replaced(Signed(receipt.xml), "<infCFe ", "<infCFe xmlns=\"urn:a\" xmlns:b=\"urn:b\" ");
    EXPECT_EQ(TextOf(receipt.xml, "DigestValue"), ToBase64(Sha256(part)));
}

TEST(Signature, ItsDigestIsRightInEveryEncoding) {
    const std::string sale =
        Replaced(SaleText(ItemText(1, "1.00")), "<xProd>X", "<xProd>\xc9\r\n&#13;&#201;");
    const Receipt receipt = ReceiptOf("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + sale);
    EXPECT_EQ(TextOf(receipt.xml, "xProd"), "\u00c9\n&#xD;\u00c9");
    EXPECT_EQ(TextOf(receipt.xml, "DigestValue"), ToBase64(Sha256(Signed(receipt.xml))));
}

TEST(Signature, HasTheShapeOfAnXmlSignature) {
    const Receipt receipt =
        ReceiptOf(Replaced(DEMO_SALE, "</infCFe>", "</infCFe><Signature>old</Signature>"));
    EXPECT_EQ(
        Between(receipt.xml, "</infCFe>", "<DigestValue>"),
        "<Signature xmlns=\"http://www.w3.org/2000/09/xmldsig#\"><SignedInfo>"
        "<CanonicalizationMethod Algorithm=\"http://www.w3.org/TR/2001/REC-xml-c14n-20010315\">"
        "</CanonicalizationMethod>"
        "<SignatureMethod Algorithm=\"http://www.w3.org/2001/04/xmldsig-more#rsa-sha256\"></SignatureMethod>"
        "<Reference URI=\"#CFe" +
            receipt.key +
            "\"><Transforms>"
            "<Transform Algorithm=\"http://www.w3.org/2000/09/xmldsig#enveloped-signature\"></Transform>"
            "<Transform Algorithm=\"http://www.w3.org/TR/2001/REC-xml-c14n-20010315\"></Transform></Transforms>"
            "<DigestMethod Algorithm=\"http://www.w3.org/2001/04/xmlenc#sha256\"></DigestMethod>");
    EXPECT_EQ(Between(receipt.xml, "</DigestValue>", "</CFe>"),
              "</Reference></SignedInfo><SignatureValue>U0lHTg==</SignatureValue><KeyInfo><X509Data>"
              "<X509Certificate>Q0VSVA==</X509Certificate></X509Data></KeyInfo></Signature>");
}

}  // namespace emulator
