// CommandList: recorded drawing operations, and their replay on the rows of a target.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/types.h>
#include <qel/render/surface_p.h>

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace qel::internal {

/// A drawing operation with everything that it needs. It touches the pixels of its area only, and a row of
/// them depends on nothing but the operation and the row's old pixels.
class DrawCommand {
public:
    explicit DrawCommand(const IVec4<int>& area) : m_area(area) {}
    DrawCommand(const DrawCommand&) = delete;
    DrawCommand& operator=(const DrawCommand&) = delete;
    virtual ~DrawCommand() = default;

    /// Draws the rows from @p begin to before @p end, which are rows of the area.
    /// @threads several at once, on different rows.
    virtual void drawRows(const Surface& surface, int begin, int end) const = 0;

    /// Returns the pixels that may change; they are on the target.
    const IVec4<int>& area() const { return m_area; }
    /// Returns the image that the operation keeps alive, or null.
    virtual const Image* image() const { return nullptr; }

private:
    IVec4<int> m_area;
};

/// Operations in the order in which they were recorded.
class CommandList {
public:
    CommandList() = default;
    CommandList(const CommandList&) = delete;
    CommandList& operator=(const CommandList&) = delete;
    ~CommandList() { clear(); }

    /// Appends a command of type @p Command.
    template <typename Command, typename... Args>
    void record(Args&&... args) {
        recordWithTail<Command>(0, std::forward<Args>(args)...);
    }

    /// Appends a command that is followed by @p tailBytes of memory of its own, together at most 32 KiB.
    template <typename Command, typename... Args>
    void recordWithTail(size_t tailBytes, Args&&... args) {
        static_assert(sizeof(Command) <= kBlockBytes);
        void* const memory = allocate(sizeof(Command) + tailBytes);
        Command* const command = new (memory) Command(std::forward<Args>(args)...);
        const IVec4<int>& area = command->area();
        m_commands.push_back({area.y, area.w, command});
        countImage(command->image());
        m_pixels += static_cast<uint64>(area.z - area.x) * static_cast<uint64>(area.w - area.y);
    }

    /// Draws everything on @p surface and forgets it. Large lists are drawn in bands of rows by several
    /// threads, each of which runs all operations on its rows in order.
    void replay(const Surface& surface);
    /// Forgets everything.
    void clear();
    /// Returns true if the list should be replayed before it takes more.
    bool isFull() const { return m_commands.size() >= kMostCommands || m_imageBytes >= kMostImageBytes; }
    bool isEmpty() const { return m_commands.empty(); }

private:
    static constexpr size_t kBlockBytes = 32 * 1024;
    static constexpr size_t kMostCommands = 16 * 1024;
    static constexpr size_t kMostImageBytes = 256 * 1024 * 1024;
    struct alignas(std::max_align_t) Block {
        std::byte bytes[kBlockBytes];
    };

    /// A command, with the rows of its area at hand.
    struct Entry {
        int top;
        int bottom;
        DrawCommand* command;
    };

    void* allocate(size_t size);
    void countImage(const Image* image);
    void drawBand(const Surface& surface, int begin, int end) const;

    Vector<Entry> m_commands;
    Vector<std::unique_ptr<Block>> m_blocks; // kept for the next frame
    size_t m_block = 0;
    size_t m_used = 0; // bytes of the current block
    uint64 m_pixels = 0;
    const Image* m_lastImage = nullptr; // counted already
    size_t m_imageBytes = 0;            // of the images that the commands keep alive
};

} // namespace qel::internal
