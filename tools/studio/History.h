#pragma once

// Undo and redo in the studio: each step (an option edited, a file loaded, a mesh made) keeps
// the whole document as it was before and after, so that going back needs no inverse of the
// step. The document is small beside the memory of a desktop: a region and one mesh.

#include <QString>
#include <QUndoCommand>
#include <functional>

#include "tools/studio/Project.h"
#include "tools/zevcore/MeshIo.h"

namespace studio {

/// What an undo step brings back.
struct StudioState {
    zevtool::meshio::Region region;
    /// The region the mesher covered when it divided a curve afresh; else no loops.
    zevtool::meshio::Region meshedRegion;
    zevtool::meshio::Mesh mesh;
    bool hasRegion = false;
    MeshSettings settings;
    QString sourcePath;
    QString projectPath;
    QString summary;
    QString title;
};

/// One step: undo shows `before`, redo `after`. Pushed after the step was done, so the first
/// redo (the stack's own, on push) changes nothing.
class StateCommand : public QUndoCommand {
public:
    using Restore = std::function<void(const StudioState&, const QString& said)>;

    StateCommand(const QString& text, StudioState before, StudioState after, Restore restore)
        : QUndoCommand(text),
          m_before(std::move(before)),
          m_after(std::move(after)),
          m_restore(std::move(restore)) {}

    void undo() override { m_restore(m_before, QObject::tr("Undone: %1").arg(text())); }
    void redo() override {
        if (m_pushed) m_restore(m_after, QObject::tr("Redone: %1").arg(text()));
        m_pushed = true;
    }

private:
    StudioState m_before;
    StudioState m_after;
    Restore m_restore;
    bool m_pushed = false;
};

}  // namespace studio
