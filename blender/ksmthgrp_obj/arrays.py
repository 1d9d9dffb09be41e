"""What is done to meshes as arrays: faces in compressed rows, and labels on them. Knows nothing of Blender.

Face i has the corners `starts[i]` up to `starts[i + 1]`; `starts` has one entry more than there are faces.
"""

import numpy as np


def face_of_corners(starts):
    """The face of each corner."""
    return np.repeat(np.arange(len(starts) - 1), np.diff(starts))


def corners_of(starts, faces):
    """The corners of `faces`, face by face."""
    counts = starts[faces + 1] - starts[faces]
    ends = np.cumsum(counts)
    return np.repeat(starts[faces] - (ends - counts), counts) + np.arange(ends[-1] if len(ends) else 0)


def places_by_label(labels):
    """Each label, ascending, with its places in `labels`, ascending."""
    order = np.argsort(labels, kind="stable")
    values, begins = np.unique(labels[order], return_index=True)
    return list(zip(values.tolist(), np.split(order, begins[1:])))


def repeated_corners(starts, vertices):
    """Whether each face has a vertex more than once."""
    repeats = np.zeros(len(starts) - 1, bool)
    for faces, rows in _sorted_rows(starts, vertices):
        repeats[faces] = (rows[:, 1:] == rows[:, :-1]).any(axis=1)
    return repeats


def repeated_faces(starts, vertices):
    """Whether an earlier face has the same vertices, in whatever order."""
    repeats = np.zeros(len(starts) - 1, bool)
    for faces, rows in _sorted_rows(starts, vertices):
        # Faces whose sums differ are different; the few others are compared.
        factors = np.random.default_rng(1).integers(1, 2**63, rows.shape[1], dtype=np.uint64)
        sums = (rows.astype(np.uint64) * factors).sum(axis=1, dtype=np.uint64)
        order = np.argsort(sums, kind="stable")
        same = sums[order][1:] == sums[order][:-1]
        alike = np.zeros(len(faces), bool)
        alike[order[1:][same]] = alike[order[:-1][same]] = True
        seen = set()
        for i in np.flatnonzero(alike):
            row = rows[i].tobytes()
            repeats[faces[i]] = row in seen
            seen.add(row)
    return repeats


def _sorted_rows(starts, vertices):
    """Faces of each size with their vertices as rows, ascending."""
    sizes = np.diff(starts)
    for size in np.unique(sizes):
        faces = np.flatnonzero(sizes == size)
        yield faces, np.sort(vertices[starts[faces][:, None] + np.arange(size)], axis=1)


def edges_between(edge_of_corner, label_of_corner, edge_count):
    """Whether the faces that share an edge have different labels. The edge of a corner leads to the face's next."""
    some = np.empty(edge_count, label_of_corner.dtype)
    some[edge_of_corner] = label_of_corner
    between = np.zeros(edge_count, bool)
    between[edge_of_corner[label_of_corner != some[edge_of_corner]]] = True
    return between


def islands(face_of_corner, edge_of_corner, closed_edges, face_count):
    """Numbers from 0 for faces, the same for those that edges connect; `closed_edges` connect nothing."""
    open_corners = ~closed_edges[edge_of_corner]
    edge, face = edge_of_corner[open_corners], face_of_corner[open_corners]
    some = np.empty(len(closed_edges), np.int64)
    some[edge] = face
    a, b = some[edge], face
    label = np.arange(face_count)
    while True:
        low = np.minimum(label[a], label[b])
        np.minimum.at(label, label[a], low)
        np.minimum.at(label, label[b], low)
        # Whoever is its own label is a root; chains are shortened down to them.
        while (label[label] != label).any():
            label = label[label]
        if (label[a] == label[b]).all():
            return np.unique(label, return_inverse=True)[1]


def colours(island_of_corner, vertex_of_corner, island_count):
    """Small numbers from 1 for islands, different for those that have a vertex in common."""
    pairs = np.unique(np.stack([vertex_of_corner, island_of_corner], axis=1), axis=0)
    begins = np.flatnonzero(np.diff(pairs[:, 0], prepend=-1))
    neighbours = [set() for _ in range(island_count)]
    for row in np.split(pairs[:, 1], begins[1:]):
        if len(row) > 1:
            around = row.tolist()
            for island in around:
                neighbours[island].update(around)
    numbers = np.zeros(island_count, np.int64)
    for island in range(island_count):
        taken = {numbers[other] for other in neighbours[island]}
        number = 1
        while number in taken:
            number += 1
        numbers[island] = number
    return numbers
