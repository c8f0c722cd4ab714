#pragma once

#include "config/ConfigurationResult.h"

#include <string>
#include <vector>

/**
 * Reads the product's configuration store, one key at a time, each with a result code.
 *
 * Called on the thread of the load. Bad input is reported by a code and a line of the diagnostic log, and on
 * the console where an operator has to mend it.
 */

/**
 * Reads an integer key.
 * @param value  receives the number; unchanged unless the result is 0. No range is checked.
 * @return 0, RC_CONFIG_INVALID when the value is no number, else RC_CONFIG_NOT_DEFINED
 */
int ReadIntegerValue(const char* key, int& value);

/**
 * Reads a text key and checks its characters.
 * @param value   emptied first, so a removed key empties it; keeps a text that was refused
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
 * Splits `tuple` at its first `delimiter`, which is one character long. Without a helper nothing is split.
 * @param key    the text before it, without blanks around; empty if there is none
 * @param value  the number after it, 0 for a text that is no number, -1 for no text
 */
void GetKeyValueFromStringTouple(std::string tuple, const std::string& delimiter, std::string& key,
                                 int& value);

/**
 * Splits `input` at each `delimiter` into elements without blanks around. A delimiter at the end adds none.
 * Without a helper there are no elements.
 */
void GetVectorFromString(std::string input, const std::string& delimiter, std::vector<std::string>& output);
