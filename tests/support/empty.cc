// Keeps the support archive non-empty before any helper exists.
