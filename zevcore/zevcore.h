#pragma once

// Every public header of the library. Subsystems add theirs here as they arrive.

#include "zevcore/Export.h"
#include "zevcore/Version.h"

#include "zevcore/platform/Archive.h"
#include "zevcore/platform/Array.h"
#include "zevcore/platform/Desktop.h"
#include "zevcore/platform/Exception.h"
#include "zevcore/platform/File.h"
#include "zevcore/platform/Host.h"
#include "zevcore/platform/Locale.h"
#include "zevcore/platform/Module.h"
#include "zevcore/platform/ProgressView.h"
#include "zevcore/platform/Object.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/platform/ShellFolders.h"
#include "zevcore/platform/String.h"
#include "zevcore/platform/Types.h"

#include "zevcore/frame/Folders.h"
#include "zevcore/frame/Frame.h"
#include "zevcore/frame/Ini.h"
#include "zevcore/frame/Math.h"
#include "zevcore/frame/Progress.h"
#include "zevcore/frame/TArray.h"

#include "zevcore/geometry/AABB.h"
#include "zevcore/geometry/Line2D.h"
#include "zevcore/geometry/Line3D.h"
#include "zevcore/geometry/Matrix44.h"
#include "zevcore/geometry/OrientedBox.h"
#include "zevcore/geometry/Plane3D.h"
#include "zevcore/geometry/Point2D.h"
#include "zevcore/geometry/Point3D.h"
#include "zevcore/geometry/Quaternion.h"
#include "zevcore/geometry/Vector2D.h"
#include "zevcore/geometry/Vector3D.h"

#include "zevcore/mesh/MeshQuad.h"
#include "zevcore/mesh/TriangleMesher.h"
#include "zevcore/mesh/paver/Geometry.h"
#include "zevcore/mesh/paver/MeshModel.h"

#include "zevcore/files/BinaryStream.h"
#include "zevcore/files/StringEx.h"
#include "zevcore/files/TextFile.h"
#include "zevcore/files/Xml.h"

#include "zevcore/graphics/GraphicGrid.h"
#include "zevcore/graphics/GridManager.h"
#include "zevcore/graphics/PointerArray.h"

#include "zevcore/quantities/Expression.h"
#include "zevcore/quantities/UnitStyleDlg.h"
#include "zevcore/quantities/Units.h"
#include "zevcore/quantities/UnitsEditCtrl.h"
