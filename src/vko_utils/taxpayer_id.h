/*
 * Check digits of the taxpayer numbers CNPJ (companies, 14 digits) and CPF (persons, 11 digits).
 *
 * A number is accepted in its numeric form (digits alone) and in its punctuated form (NN.NNN.NNN/NNNN-NN, 18
 * characters, and NNN.NNN.NNN-NN, 14 characters). Of the punctuated form only the kinds of characters are
 * checked, not where the separators stand. The caller's text is never changed, and nothing is kept between
 * calls. Every result is logged.
 */
#pragma once

#include <cstdint>

constexpr int32_t VKO_ERR_CNPJ_NULL = -3001;
constexpr int32_t VKO_ERR_CNPJ_FORMATTED = -3002;  ///< 18 characters, one of them neither digit nor
                                                   ///< separator, or more than 14 digits
constexpr int32_t VKO_ERR_CNPJ_NUMERIC = -3003;    ///< 14 characters, one of them no digit
constexpr int32_t VKO_ERR_CNPJ_TOO_SHORT = -3004;
constexpr int32_t VKO_ERR_CNPJ_TOO_LONG = -3005;
constexpr int32_t VKO_ERR_CNPJ_LENGTH = -3006;   ///< any other length; the two above leave none
constexpr int32_t VKO_ERR_CHECK_DIGITS = -3007;  ///< of either number, on purpose
constexpr int32_t VKO_ERR_CPF_NULL = -3011;
constexpr int32_t VKO_ERR_CPF_FORMATTED = -3012;  ///< 14 characters, one of them neither digit nor separator
constexpr int32_t VKO_ERR_CPF_NUMERIC = -3013;    ///< 11 characters, one of them no digit
constexpr int32_t VKO_ERR_CPF_TOO_SHORT = -3014;
constexpr int32_t VKO_ERR_CPF_TOO_LONG = -3015;
constexpr int32_t VKO_ERR_CPF_LENGTH = -3016;  ///< any other length; the two above leave none
constexpr int32_t VKO_ERR_CPF_DIGITS = -3017;  ///< not 11 digits

/**
 * Checks a CNPJ. The weighted sums wrap modulo 256, on purpose: a number whose true sums are larger is judged
 * by what is left of them, so "99999999999917" is accepted and "99999999999962" is not.
 *
 * @param pCNPJ  NUL-terminated text; NULL is reported
 * @return 0 when both check digits are right, else one of VKO_ERR_CNPJ_* or VKO_ERR_CHECK_DIGITS. A
 * punctuated number with fewer than 14 digits is judged with zeros for the missing ones.
 */
int32_t VKO_Check_CNPJ(const char* pCNPJ);

/**
 * Checks a CPF.
 *
 * @param pCPF  NUL-terminated text; NULL is reported
 * @return 0 when both check digits are right, else one of VKO_ERR_CPF_* or VKO_ERR_CHECK_DIGITS
 */
int32_t VKO_Check_CPF(const char* pCPF);

/**
 * Computes a check digit of a CPF.
 *
 * @param pCPF     NUL-terminated text of 11 digits
 * @param iWeight  the weight of the first digit; it falls by one a digit down to 2. 10 gives the first check
 *                 digit, 11 the second.
 * @return 0 to 9; VKO_ERR_CPF_DIGITS for NULL or another length
 */
int32_t VKO_GetCPFCheckDigit(const char* pCPF, int32_t iWeight);
