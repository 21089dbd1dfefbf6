"""The difference of two JSON values as a JSON Patch of add, remove and replace."""


def difference(old, new, path=""):
    """Returns the operations that make `new` of `old`."""
    if type(old) is not type(new):
        return [_operation("replace", path, new)]
    if isinstance(old, dict):
        return _of_objects(old, new, path)
    if isinstance(old, list):
        return _of_arrays(old, new, path)
    return [] if old == new else [_operation("replace", path, new)]


def _operation(name, path, value):
    return {"op": name, "path": path, "value": value}


def _below(path, key):
    return path + "/" + str(key).replace("~", "~0").replace("/", "~1")


def _of_objects(old, new, path):
    operations = [{"op": "remove", "path": _below(path, key)} for key in old if key not in new]
    for key, value in new.items():
        if key in old:
            operations += difference(old[key], value, _below(path, key))
        else:
            operations.append(_operation("add", _below(path, key), value))
    return operations


def _of_arrays(old, new, path):
    shared = min(len(old), len(new))
    operations = []
    for index in range(shared):
        operations += difference(old[index], new[index], _below(path, index))
    for index in range(len(old) - 1, shared - 1, -1):
        operations.append({"op": "remove", "path": _below(path, index)})
    for index in range(shared, len(new)):
        operations.append(_operation("add", _below(path, "-"), new[index]))
    return operations
