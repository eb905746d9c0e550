#pragma once

/// Lets screen readers see the items of content views, of which QQuickWidget shows them none. Once for the
/// process.
void installContentAccessibility();
