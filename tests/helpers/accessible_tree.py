"""Prints what a screen reader finds in the running Pondrift: one line per object of its
accessible tree, as depth, role, name and states, tab-separated. Exits 1 when no application
of that name is on the accessibility bus."""
import sys

import pyatspi


def walk(node, depth, out):
    if node is None:
        return
    try:
        states = node.getState().getStates()
        names = ",".join(sorted(pyatspi.stateToString(s) for s in states))
        out.append("%d\t%s\t%s\t%s" % (depth, node.getRoleName(), node.name or "", names))
        for i in range(node.childCount):
            walk(node.getChildAtIndex(i), depth + 1, out)
    except Exception as error:  # an object that went away while being read
        out.append("%d\t(gone)\t%s\t" % (depth, error))


def main():
    wanted = sys.argv[1] if len(sys.argv) > 1 else "pondrift"
    desktop = pyatspi.Registry.getDesktop(0)
    for app in desktop:
        if app is not None and wanted in (app.name or "").lower():
            out = []
            walk(app, 0, out)
            print("\n".join(out))
            return 0
    print("no application named %s; found: %s" % (wanted, [a.name for a in desktop if a]),
          file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
