#pragma once

#include "config/ConfigurationResult.h"

#include <string>
#include <vector>

/**
 * The thin layer above the product's configuration store: one key at a time, each with a result code.
 *
 * All of it runs on the thread of the load and reports bad input by code, by a line of the diagnostic log
 * and, for what an operator has to mend, on the console.
 */

/**
 * Reads an integer key.
 * @param value  receives the number; unchanged unless the result is 0. No range is tested.
 * @return 0, RC_CONFIG_INVALID when the value is no number, else RC_CONFIG_NOT_DEFINED
 */
int ReadIntegerValue(const char* key, int& value);

/**
 * Reads a text key and checks its characters.
 * @param value   emptied first, so a key that has gone empties it; keeps a text that was rejected
 * @param result  receives 0, RC_CONFIG_BAD_CHARS, or RC_CONFIG_NOT_DEFINED
 * @return a copy of `value`
 */
std::string ReadStringValue(const char* key, std::string& value, int& result);

/**
 * True when a text may be used: letters, digits, blank, tab and @ _ . \ / - : , without a forbidden
 * sequence.
 */
bool ValidateInputForSpecialChars(std::string text);

/** True when a text holds one of the sequences that no setting may hold, such as "..". */
bool CheckForUnauthorizedStrings(std::string text);

/**
 * Splits `tuple` at its first `delimiter`, which is one character long.
 * @param key    what stands before it, without blanks around; empty if there is none
 * @param value  the number behind it, 0 for a text that is no number; -1 if nothing stands there
 */
void GetKeyValueFromStringTouple(std::string tuple, const std::string& delimiter, std::string& key,
                                 int& value);

/** Splits `input` at each `delimiter` into elements without blanks around; a delimiter at the end adds none.
 */
void GetVectorFromString(std::string input, const std::string& delimiter, std::vector<std::string>& output);
