#pragma once

namespace monitor
{

/// What shows a live run while it goes on.
class Display
{
public:
    virtual ~Display() = default;

    /// Does what the user asks for and shows what there is now. Returns false if the user wants to
    /// end it. To be called a few times a second.
    virtual bool refresh() = 0;
};

} // namespace monitor
