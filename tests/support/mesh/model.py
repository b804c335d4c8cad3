"""Reading a device's data model."""


def al(model):
    return model["Device"]["X_5E1F09_IEEE1905"]["AL"] if model else {}


def numbered(parent, prefix):
    """The objects Prefix.1, Prefix.2, ...; fails if there is a gap in the numbers."""
    found = {key: value for key, value in parent.items() if key.startswith(prefix + ".")}
    assert list(found) == [f"{prefix}.{n}" for n in range(1, len(found) + 1)], list(found)
    return list(found.values())


def remotes(model):
    """AL MAC -> the object of that device."""
    return {device["IEEE1905Id"]: device
            for device in numbered(al(model).get("NetworkTopology", {}), "IEEE1905Device")}
