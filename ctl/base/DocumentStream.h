#pragma once

#include "base/Document.h"

#include <iosfwd>
#include <string>
#include <string_view>

namespace ctl
{

/**
 * Prints a JSON document member by member, and a long array item by item, so that it never stands in memory
 * as a whole. What comes out is what PrintDocument prints. One thread.
 */
class DocumentStream
{
public:
    /** Begins with the members of `head`, an object. `output` outlives the stream. */
    DocumentStream(std::ostream& output, const Json& head);
    /** Ends the document. */
    ~DocumentStream();
    DocumentStream(const DocumentStream&) = delete;
    DocumentStream& operator=(const DocumentStream&) = delete;

    void Add(std::string_view name, const Json& value);

    /** Begins an array as the next member; items follow, then EndArray. */
    void BeginArray(std::string_view name);
    void AddItem(const Json& item);
    void EndArray();

private:
    void BeginMember(std::string_view name);
    void Write(const Json& value, const std::string& indent);

    std::ostream& mOutput;
    bool mHasMember = false;
    bool mHasItem = false; ///< of the array at hand
};

} // namespace ctl
