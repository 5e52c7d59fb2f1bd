/*
 * The signature element of a receipt, in the shape of an XML signature. Nobody signs here: the digest is
 * real, the signature itself and the certificate are what the caller of these routines hands in.
 */
#pragma once

#include <string>

#include "xml.h"

namespace emulator {

/** What stands where a real device's own secrets would. Base64 texts. */
struct SignatureTexts {
    std::string value;        ///< of a signature of 2048 bits: 344 characters
    std::string certificate;  ///< any length
};

/**
 * Appends the signature to the document, about its child `information`, which must be complete and carry the
 * attribute "Id". The digest is SHA-256 over the canonical form of that element.
 */
void AppendSignature(Element* information, const SignatureTexts& texts);

}  // namespace emulator
