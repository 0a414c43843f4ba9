# Warnings are errors everywhere in the project.
add_compile_options(-Wall -Wextra -Werror)
