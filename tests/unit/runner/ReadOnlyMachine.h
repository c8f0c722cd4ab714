#pragma once

#include <string>

/**
 * Lets this process and those that it starts see the machine's root file system read-only, apart from /tmp,
 * the given folder and the build folder. So a test that forgets to ask for a host fails, and changes nothing.
 *
 * Only the superuser can do that; anybody else is kept from the machine's files by their modes.
 *
 * @param folder  stays writable; an absolute path
 */
void SeeMachineReadOnly(const std::string& folder);
