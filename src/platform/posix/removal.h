/*
 * Removal of folders and files with what is below them. No symbolic link is ever followed.
 */
#pragma once

/**
 * Removes a folder with all that it holds; a link to a folder goes alone, without what it leads to. Refused
 * for the root, for the current folder and for the folders that it lies in. False when anything could not be
 * removed.
 */
bool RemoveTree(const char* path);

/**
 * Removes the files whose names match the last part of `path` ("*" and "?" as usual), in its folder and in
 * all folders below; in the root folder alone when that is the folder. Folders stay. False when nothing
 * matched or anything could not be removed.
 */
bool RemoveFiles(const char* path);
