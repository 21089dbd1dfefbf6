# qx_embed_resources() is defined with the resource compiler.
