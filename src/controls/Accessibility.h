// Makes the drawn controls visible to screen readers and to tests that drive
// the program through the accessibility tree.
#pragma once

namespace zel {

// Installs the one factory that knows every drawn control. Call after the
// QApplication exists; calling it again does nothing.
void InstallAccessibility();

}  // namespace zel
